#pragma once

#include "NotificationRequest.h"

#include <QByteArray>
#include <QList>

// The reminders file's format: a JSON array of the requests still to be shown, and a
// journal beside it with a line per request shown since the array was last written.
// Shown requests go into the journal one at a time, which costs a few bytes each,
// instead of rewriting an array that may hold thousands.
namespace ReminderFile {

struct Contents
{
    QList<NotificationRequest> requests; // in file order; a later identifier replaces an earlier one
    bool complete = true;                // false when some of `pending` could not be read
    bool journaled = false;              // some requests were left out as already shown
};

// Reads `pending` (the array) less what `journal` says was shown. Entries that are
// not requests naming a real date and time are skipped and make it incomplete.
Contents read(const QByteArray &pending, const QByteArray &journal);

QByteArray write(const QList<NotificationRequest> &requests);

// The journal line, newline included, that marks `request` as shown.
QByteArray journalLine(const NotificationRequest &request);

} // namespace ReminderFile
