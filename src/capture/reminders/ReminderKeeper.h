#pragma once

#include "ReminderFile.h"

#include <QFile>
#include <QString>

// Keeps the waiting reminders on disk: the array at `path`, and beside it the journal
// "<path>.shown" of those shown since the array was last written. Both are private to
// the user, whatever they were made with: reminders quote the ideas.
class ReminderKeeper
{
public:
    explicit ReminderKeeper(const QString &path);

    // $XDG_DATA_HOME/Fikranest/reminders.json
    static QString defaultPath();

    // What the files hold, less what the journal says was shown; safe on any thread.
    static ReminderFile::Contents read(const QString &path);
    QString path() const { return m_path; }

    // Settles what `read` found. A file that could not be read in full is renamed
    // "<path>.corrupt" (".corrupt.2" and on when that exists), never deleted, and true
    // is answered so that whatever could be read is written back; if it cannot be
    // moved, nothing is written over it from then on. True too when the array still
    // lists what the journal says was shown.
    bool adopt(const ReminderFile::Contents &contents);

    // Rewrites the array and drops the journal, which the array now covers.
    void save(const QList<NotificationRequest> &requests);
    // Notes one shown request at once, which is what outlives a crash of the program.
    void journal(const NotificationRequest &request);

private:
    QString m_path; // empty: changes live only in memory
    QFile m_journal;
};
