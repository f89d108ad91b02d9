#pragma once

#include "IdeaStore.h"

#include <QObject>
#include <QPointer>

class NotificationCenter;

// What a person can do to a stored idea from the list and the detail view: complete,
// reopen, delete. Every surface goes through here, so the rules hold everywhere.
class IdeaActions : public QObject
{
    Q_OBJECT

public:
    IdeaActions(IdeaStore *store, NotificationCenter *notifications, QObject *parent = nullptr);

    // The one status setter: `status`, then `updatedAt` to now, in one write. A
    // completion announces itself; the idea's reminder stays as it is.
    IdeaStore::Write setStatus(Idea &idea, const QString &status);
    // Cancels the pending reminder, then deletes the record. Should the delete fail,
    // the reminder is put back: nothing is lost.
    IdeaStore::Write remove(const Idea &idea);

    // The same, for a record a screen knows by its row and its id text together; each
    // answers "" when done, or the short Arabic text to show instead.
    QString markDone(qint64 recordId, const QString &id);
    QString returnToActive(qint64 recordId, const QString &id);
    QString remove(qint64 recordId, const QString &id);

private:
    QString setStatusOf(qint64 recordId, const QString &id, const QString &status);

    QPointer<IdeaStore> m_store;
    QPointer<NotificationCenter> m_notifications;
};
