#pragma once

#include <QByteArray>

#include <vector>

// A content line as libical's parser reads it: a physical line and those folded into it.
// A line starting with a space or tab continues the one before, unless that one is a bare
// "\n"; both the reader and the writer must see the same lines, so this follows libical
// rather than RFC 5545.
struct ContentLine
{
    qsizetype from = 0; // its physical lines in the text, line breaks included
    qsizetype to = 0;
    QByteArray unfolded;
    QByteArray name;  // upper case; empty when libical finds none
    QByteArray value; // after the name and its parameters, up to a comma (all BEGIN and END need)

    static std::vector<ContentLine> split(const QByteArray &text);
};
