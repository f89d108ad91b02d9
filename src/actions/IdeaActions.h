#pragma once

#include "IdeaStore.h"
#include "SyncEngine.h"

#include <QObject>
#include <QPointer>

class NotificationCenter;

// Everything a person does to an idea: add, edit, complete, reopen, delete. Every
// surface writes through here, so the reminder rules hold everywhere: a new idea's
// reminder is scheduled, a deleted idea's is cancelled, a completed one keeps it.
class IdeaActions : public QObject
{
    Q_OBJECT

public:
    // Over the program's store and notification centre.
    explicit IdeaActions(QObject *parent = nullptr);
    IdeaActions(IdeaStore *store, NotificationCenter *notifications, QObject *parent = nullptr);

    // Stores a new idea, then schedules its reminder if it has one. False when the
    // store refused it; nothing is scheduled then.
    bool add(Idea &idea);
    // Writes the idea's fields as they now stand.
    IdeaStore::Write edit(const Idea &idea);
    // The one status setter: `status`, then `updatedAt` to now, in one write. A
    // completion announces itself; the idea's reminder stays as it is.
    IdeaStore::Write setStatus(Idea &idea, const QString &status);
    // Cancels the pending reminder, then deletes the record. Should the delete fail,
    // the reminder is put back: nothing is lost.
    IdeaStore::Write remove(const Idea &idea);

    // Changes that came from the server, in order, under the same reminder rules: a
    // reminder that arrives is scheduled like one set here unless its moment has passed.
    // False as soon as the store refuses one.
    bool applySynced(const QList<SyncChange> &changes);

    // The same, for a record a screen knows by its row and its id text together; each
    // answers "" when done, or the short Arabic text to show instead.
    QString markDone(qint64 recordId, const QString &id);
    QString returnToActive(qint64 recordId, const QString &id);
    QString remove(qint64 recordId, const QString &id);

private:
    void scheduleIfAhead(const Idea &idea);
    bool applyEach(const QList<SyncChange> &changes, QList<std::function<void()>> &reminders);
    QString setStatusOf(qint64 recordId, const QString &id, const QString &status);

    QPointer<IdeaStore> m_store;
    QPointer<NotificationCenter> m_notifications;
};
