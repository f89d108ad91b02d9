#pragma once

#include "AppClock.h"
#include "Idea.h"

#include <QByteArray>
#include <QString>
#include <QTimeZone>

#include <optional>

// An idea as one VTODO in an iCalendar object, read and written with libical. Writing
// changes only the properties that carry the idea's fields; everything else a task
// holds (priority, subtasks, repeat rules, other alarms, other programs' X- properties)
// stays as it came: byte for byte, unless the object is so malformed that libical has to
// print it afresh.
namespace VTodo {

struct Reading
{
    std::optional<Idea> idea;
    QString error; // why the object could not be read, when `idea` is empty
};

// The task of a VCALENDAR text: its first VTODO that does not override one occurrence of
// a repeating task. A UID that is not a UUID gives the idea a name-based UUID (version 5)
// derived from it, the same on every device. A task without SUMMARY reads with an empty
// title. The reminder is the earliest alarm's moment, else DUE; a date-only DUE is 09:00
// in `zone` that day, and a floating time is a clock time in `zone`. TZIDs name the
// object's own VTIMEZONEs first, then the zones libical knows. Refused, with a short
// English `error` for the log: more than 4 MiB, 5000 components or a 1 MiB line, not
// iCalendar, no VTODO, no UID, a date that is not on the calendar (or after the year
// 3000), components nested deeper than 16. Safe to call from any thread.
Reading read(const QByteArray &ics, const QTimeZone &zone = AppClock::timeZone());

// `idea` written over `previous`, the server's copy as last read (empty for a new task).
// A property is rewritten only when what it reads as differs from the idea, so a task in
// process or cancelled elsewhere keeps its own STATUS while Fikranest sees no change, and
// the same idea written back gives `previous` unchanged. Fikranest's alarm is the one at
// DUE; other alarms stay, and may still give the task a reminder after it lost its own.
// When `previous` holds no task to write over, the result is a new task.
QByteArray write(const Idea &idea, const QByteArray &previous = {});

// The UID of the task `read` would take, empty when there is none.
QString uid(const QByteArray &ics);

} // namespace VTodo
