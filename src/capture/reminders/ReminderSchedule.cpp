#include "ReminderSchedule.h"

#include "AppClock.h"

#include <algorithm>
#include <tuple>

std::optional<qint64> ReminderSchedule::due(const NotificationTrigger &trigger, const QTimeZone &zone)
{
    const QDate date(trigger.year, trigger.month, trigger.day);
    const QTime time(trigger.hour, trigger.minute);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    return AppClock::firstInstantAt(date, time, zone).toMSecsSinceEpoch();
}

void ReminderSchedule::add(const NotificationRequest &request, qint64 due)
{
    m_pending.insert(request.identifier, {request, due, m_nextSerial++});
}

bool ReminderSchedule::remove(const QString &identifier)
{
    return m_pending.remove(identifier);
}

QList<NotificationRequest> ReminderSchedule::requests() const
{
    QList<const Pending *> inOrder;
    inOrder.reserve(m_pending.size());
    for (const Pending &pending : m_pending)
        inOrder.append(&pending);
    std::sort(inOrder.begin(), inOrder.end(), [](const Pending *a, const Pending *b) { return a->serial < b->serial; });
    QList<NotificationRequest> requests;
    requests.reserve(inOrder.size());
    for (const Pending *pending : inOrder)
        requests.append(pending->request);
    return requests;
}

void ReminderSchedule::follow(const QTimeZone &zone)
{
    for (Pending &pending : m_pending) {
        if (pending.state == State::waiting)
            pending.due = due(pending.request.trigger, zone).value_or(pending.due);
    }
}

std::optional<qint64> ReminderSchedule::queueDue(qint64 now)
{
    std::optional<qint64> next;
    QList<Pending *> due;
    for (Pending &pending : m_pending) {
        if (pending.state != State::waiting)
            continue;
        if (pending.due <= now)
            due.append(&pending);
        else if (!next || pending.due < *next)
            next = pending.due;
    }
    std::sort(due.begin(), due.end(), [](const Pending *a, const Pending *b) {
        return std::tie(a->due, a->serial) < std::tie(b->due, b->serial);
    });
    for (Pending *pending : due) {
        pending->state = State::queued;
        m_queue.push_back({pending->request.identifier, pending->serial});
    }
    return next;
}

std::optional<ReminderSchedule::Outgoing> ReminderSchedule::takeNext()
{
    while (!m_queue.empty()) {
        const Queued next = m_queue.front();
        m_queue.pop_front();
        const auto pending = m_pending.find(next.identifier);
        if (pending != m_pending.end() && pending->serial == next.serial && pending->state == State::queued) {
            pending->state = State::sending;
            return Outgoing{pending->request, pending->serial};
        }
    }
    return std::nullopt;
}

void ReminderSchedule::sendAgain(const Outgoing &outgoing)
{
    const auto pending = m_pending.find(outgoing.request.identifier);
    if (pending == m_pending.end() || pending->serial != outgoing.serial)
        return;
    pending->state = State::queued;
    m_queue.push_back({outgoing.request.identifier, outgoing.serial});
}

bool ReminderSchedule::shown(const Outgoing &outgoing)
{
    const auto pending = m_pending.find(outgoing.request.identifier);
    if (pending == m_pending.end() || pending->serial != outgoing.serial)
        return false;
    m_pending.erase(pending);
    return true;
}
