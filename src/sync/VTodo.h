#pragma once

#include "Idea.h"

#include <QByteArray>
#include <QString>
#include <QTimeZone>

#include <optional>

// An idea as one VTODO in an iCalendar object, read and written with libical. Writing
// changes only the properties that carry the idea's fields; everything else a task
// holds (priority, subtasks, repeat rules, other alarms, other programs' X- properties)
// stays exactly as it came.
namespace VTodo {

struct Reading
{
    std::optional<Idea> idea;
    QString error; // why the object could not be read, when `idea` is empty
};

// The first VTODO of a VCALENDAR text. A UID that is not a UUID gives the idea a name-based
// UUID (version 5) derived from it, the same on every device. A date-only DUE is 09:00 in
// `zone` that day.
Reading read(const QByteArray &ics, const QTimeZone &zone = QTimeZone::systemTimeZone());

// `idea` written over `previous`, the server's copy as last read (empty for a new task).
// A property is rewritten only when what it reads as differs from the idea, so a task in
// process or cancelled elsewhere keeps its own STATUS while Fikranest sees no change.
QByteArray write(const Idea &idea, const QByteArray &previous = {});

// The UID of the first VTODO, empty when there is none.
QString uid(const QByteArray &ics);

} // namespace VTodo
