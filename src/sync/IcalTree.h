#pragma once

#include <libical/ical.h>

#include <QByteArray>
#include <QString>

// A text parsed by libical, and the task in it: the first VTODO that does not override
// one occurrence of a repeating task. Objects whose freeing or printing could run away
// are refused before libical sees them.
class IcalTree
{
public:
    explicit IcalTree(const QByteArray &ics);
    ~IcalTree();
    IcalTree(const IcalTree &) = delete;
    IcalTree &operator=(const IcalTree &) = delete;

    icalcomponent *root = nullptr;
    icalcomponent *calendar = nullptr; // null for a bare VTODO
    icalcomponent *todo = nullptr;     // null when `error` says why
    QString error;
};
