#pragma once

#include <QByteArray>
#include <QStringList>

#include <optional>

// A CATEGORIES line taken apart, so that some of its values can go while the rest of it
// stays as other programs wrote it (libical would lose their escaped commas).
struct CategoriesLine
{
    QByteArray head; // the line up to and including the colon that starts the values
    QStringList values; // split at commas that are not escaped, and unescaped

    // Empty for a line without a colon outside quotes.
    static std::optional<CategoriesLine> parse(const QByteArray &unfolded);
    // The line again, escaped and folded, with CRLF.
    QByteArray text() const;
};
