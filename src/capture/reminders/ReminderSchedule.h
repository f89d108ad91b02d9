#pragma once

#include "NotificationRequest.h"

#include <QHash>
#include <QList>
#include <QTimeZone>

#include <deque>
#include <optional>

// Which reminders wait for their minute, which are due and in what order they go out.
// A request fires at the first instant the local wall clock reaches its minute: for a
// minute skipped when clocks go forward that is the moment of the jump, and for a
// minute that occurs twice it is the first time round.
class ReminderSchedule
{
public:
    // The first instant, in ms since the epoch, at which the wall clock in `zone` reads
    // the trigger's minute or later; none when the trigger names no real date and time.
    static std::optional<qint64> due(const NotificationTrigger &trigger, const QTimeZone &zone);

    // One going out: a request added again while this one was on its way is a new
    // reminder, told apart by its serial.
    struct Outgoing
    {
        NotificationRequest request;
        quint64 serial = 0;
    };

    // A later request with the same identifier takes the place of the earlier one.
    void add(const NotificationRequest &request, qint64 due);
    bool remove(const QString &identifier);
    // In the order they were set.
    QList<NotificationRequest> requests() const;
    // The wall clock now keeps to `zone`: whatever still waits falls due when it
    // reaches its minute there.
    void follow(const QTimeZone &zone);

    // Queues what is due at `now`, oldest minute first and in the order they were set
    // within a minute; answers when the next one waiting falls due.
    std::optional<qint64> queueDue(qint64 now);
    // The next queued request still wanted, now on its way.
    std::optional<Outgoing> takeNext();
    // A call that failed: the request goes to the back of the queue, if still wanted.
    void sendAgain(const Outgoing &outgoing);
    // A call the server took: the request is done with, unless it was replaced or
    // removed meanwhile. True when it was still pending.
    bool shown(const Outgoing &outgoing);

private:
    enum class State { waiting, queued, sending };

    struct Pending
    {
        NotificationRequest request;
        qint64 due = 0; // ms since the epoch, which compares far faster than a zoned QDateTime
        quint64 serial = 0;
        State state = State::waiting;
    };

    struct Queued
    {
        QString identifier;
        quint64 serial = 0;
    };

    QHash<QString, Pending> m_pending;
    std::deque<Queued> m_queue;
    quint64 m_nextSerial = 1;
};
