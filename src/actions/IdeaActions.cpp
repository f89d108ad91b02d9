#include "IdeaActions.h"

#include "AppClock.h"
#include "AppEvents.h"
#include "NotificationCenter.h"
#include "ReminderNotifications.h"
#include "Vocabulary.h"

IdeaActions::IdeaActions(QObject *parent)
    : IdeaActions(IdeaStore::shared(), NotificationCenter::shared(), parent)
{
}

IdeaActions::IdeaActions(IdeaStore *store, NotificationCenter *notifications, QObject *parent)
    : QObject(parent), m_store(store), m_notifications(notifications)
{
}

bool IdeaActions::add(Idea &idea)
{
    if (!m_store || !m_store->insert(idea))
        return false;
    if (idea.hasReminder && m_notifications)
        ReminderNotifications::scheduleNotification(idea, *m_notifications);
    return true;
}

IdeaStore::Write IdeaActions::edit(const Idea &idea)
{
    return m_store ? m_store->update(idea) : IdeaStore::Write::failed;
}

IdeaStore::Write IdeaActions::setStatus(Idea &idea, const QString &status)
{
    if (!m_store)
        return IdeaStore::Write::failed;
    Idea changed = idea;
    changed.status = status;
    changed.updatedAt = AppClock::now();
    const IdeaStore::Write result = m_store->update(changed);
    if (result != IdeaStore::Write::done)
        return result;
    idea = changed;
    if (status == Vocabulary::done())
        AppEvents::instance().postIdeaMarkedDone();
    return result;
}

IdeaStore::Write IdeaActions::remove(const Idea &idea)
{
    if (!m_store)
        return IdeaStore::Write::failed;
    QList<NotificationRequest> cancelled;
    if (m_notifications) {
        for (const NotificationRequest &request : m_notifications->pendingRequests()) {
            if (request.identifier == idea.idText())
                cancelled << request;
        }
        ReminderNotifications::cancelNotification(idea.idText(), *m_notifications);
    }
    const IdeaStore::Write result = m_store->remove(idea);
    if (result == IdeaStore::Write::failed && m_notifications) {
        for (const NotificationRequest &request : std::as_const(cancelled))
            m_notifications->add(request);
    }
    return result;
}

void IdeaActions::scheduleIfAhead(const Idea &idea)
{
    if (m_notifications && idea.hasReminder && idea.reminderDate && *idea.reminderDate > AppClock::now())
        ReminderNotifications::scheduleNotification(idea, *m_notifications);
}

bool IdeaActions::applySynced(const QList<SyncChange> &changes)
{
    if (!m_store)
        return false;
    // One commit for the whole batch, so a sync of thousands waits on the disk once per
    // batch; the reminders follow only what the commit kept.
    QList<std::function<void()>> reminders;
    if (!m_store->batch([&] { return applyEach(changes, reminders); }))
        return false;
    for (const auto &reminder : std::as_const(reminders))
        reminder();
    return true;
}

bool IdeaActions::applyEach(const QList<SyncChange> &changes, QList<std::function<void()>> &reminders)
{
    const auto cancel = [this](const Idea &idea) {
        if (m_notifications)
            ReminderNotifications::cancelNotification(idea.idText(), *m_notifications);
    };
    for (const SyncChange &change : changes) {
        Idea idea = change.idea;
        switch (change.kind) {
        case SyncChange::Kind::add:
            if (!m_store->insert(idea))
                return false;
            reminders << [this, idea] { scheduleIfAhead(idea); };
            break;
        case SyncChange::Kind::edit: {
            const std::optional<Idea> before = m_store->find(idea.recordId(), idea.id);
            if (m_store->update(idea) == IdeaStore::Write::failed)
                return false;
            if (!before || before->hasReminder != idea.hasReminder || before->reminderDate != idea.reminderDate)
                reminders << [this, cancel, idea] {
                    cancel(idea);
                    scheduleIfAhead(idea);
                };
            break;
        }
        case SyncChange::Kind::remove:
            if (m_store->remove(idea) == IdeaStore::Write::failed)
                return false;
            reminders << [cancel, idea] { cancel(idea); };
            break;
        }
    }
    return true;
}

QString IdeaActions::setStatusOf(qint64 recordId, const QString &id, const QString &status)
{
    if (!m_store)
        return IdeaStore::writeFailureMessage();
    std::optional<Idea> idea = m_store->find(recordId, QUuid::fromString(id));
    if (!idea)
        return IdeaStore::goneMessage();
    return IdeaStore::messageFor(setStatus(*idea, status));
}

QString IdeaActions::markDone(qint64 recordId, const QString &id)
{
    return setStatusOf(recordId, id, Vocabulary::done());
}

QString IdeaActions::returnToActive(qint64 recordId, const QString &id)
{
    return setStatusOf(recordId, id, Vocabulary::active());
}

QString IdeaActions::remove(qint64 recordId, const QString &id)
{
    if (!m_store)
        return IdeaStore::writeFailureMessage();
    const std::optional<Idea> idea = m_store->find(recordId, QUuid::fromString(id));
    if (!idea)
        return IdeaStore::goneMessage();
    return IdeaStore::messageFor(remove(*idea));
}
