#pragma once

#include <QDateTime>
#include <QTimeZone>

// The program's one source of "now". Test builds let the acceptance tests move it
// forward, the way a changed system clock would.
class AppClock
{
public:
    static QDateTime now();
    static QTimeZone timeZone() { return QTimeZone::systemTimeZone(); }
};
