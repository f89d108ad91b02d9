#pragma once

#include <QString>

// Sparkle's order of version strings: numbers compare as numbers, letters as text,
// and a trailing letter part marks a pre-release, so 1.1 < 1.1.1 < 1.2 < 1.10 and
// 1.0b1 < 1.0.
class VersionOrder
{
public:
    // Negative, zero or positive as `a` is older than, the same as or newer than `b`.
    static int compare(const QString &a, const QString &b);
};
