#pragma once

#include "IdeaStore.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class NotificationCenter;
class QJSEngine;
class QQmlEngine;

// What a person can do to a stored idea from the list and the detail view: complete,
// reopen, delete. Every surface goes through here, so the rules hold everywhere.
// Each call answers "" when done, or the short Arabic text to show instead.
class IdeaActions : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    IdeaActions(IdeaStore *store, NotificationCenter *notifications, QObject *parent = nullptr);

    // The one status setter: `status`, then `updatedAt` to now, in one write. A
    // completion announces itself; the idea's reminder stays as it is.
    IdeaStore::Write setStatus(Idea &idea, const QString &status);
    // Cancels the pending reminder, then deletes the record. Should the delete fail,
    // the reminder is put back: nothing is lost.
    IdeaStore::Write remove(const Idea &idea);

    // QML addresses a record by its row and its id text together.
    Q_INVOKABLE QString markDone(qint64 recordId, const QString &id);
    Q_INVOKABLE QString returnToActive(qint64 recordId, const QString &id);
    Q_INVOKABLE QString remove(qint64 recordId, const QString &id);

    static IdeaActions *create(QQmlEngine *, QJSEngine *);

private:
    QString setStatusOf(qint64 recordId, const QString &id, const QString &status);

    QPointer<IdeaStore> m_store;
    QPointer<NotificationCenter> m_notifications;
};
