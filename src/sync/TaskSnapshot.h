#pragma once

#include "Idea.h"

#include <libical/ical.h>

#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <optional>

class IcalTree;

// What a task says, with what writing over it needs to know.
struct TaskSnapshot
{
    Idea idea;
    bool hasUid = false;
    bool dated = false; // holds CREATED, LAST-MODIFIED or DTSTAMP; else its times are now
    std::optional<QDateTime> due;
    std::optional<QDateTime> start;
    bool startIsDate = false;
    icalcomponent *ownAlarm = nullptr; // the alarm whose absolute TRIGGER is at DUE

    // The task of `tree`, which must hold one. `strict` turns a date that is not on the
    // calendar and a missing UID into errors; the writer reads leniently (such a date
    // counts as absent) so it can still edit the task.
    static std::optional<TaskSnapshot> of(const IcalTree &tree, const QTimeZone &zone, bool strict, QString *error);

    // The task's UID as it reads, empty when it has none.
    static QString uidOf(icalcomponent *todo);
};
