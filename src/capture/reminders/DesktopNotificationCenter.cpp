#include "DesktopNotificationCenter.h"

#include <algorithm>
#include <chrono>

namespace {

// The timer runs on the monotonic clock, which neither follows a changed wall clock
// nor counts a suspend; waking up at least this often bounds how late a reminder can be.
constexpr qint64 longestWaitMs = 30'000;

// A server that takes longer than this to answer is taken to have failed the call.
constexpr int callTimeoutMs = 10'000;
// Failed calls are tried again after 1 s, then twice as long each time, up to this.
constexpr int firstRetryMs = 1'000;
constexpr int longestRetryMs = 5 * 60'000;
// Shown requests leave the array in one rewrite once the burst is over; the
// journal keeps them from coming back meanwhile.
constexpr int rewriteDelayMs = 1'000;

} // namespace

DesktopNotificationCenter::DesktopNotificationCenter(const QString &path, const QDBusConnection &bus,
                                                     Clock clock, Zone zone, QObject *parent)
    : NotificationCenter(parent),
      m_keeper(path),
      m_server(bus),
      m_clock(std::move(clock)),
      m_zoneNow(std::move(zone)),
      m_zone(m_zoneNow())
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &DesktopNotificationCenter::reschedule);
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &DesktopNotificationCenter::pump);
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(rewriteDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &DesktopNotificationCenter::save);
    connect(&m_server, &FreedesktopNotifications::activated, this, &NotificationCenter::notificationActivated);
    connect(&m_server, &FreedesktopNotifications::serverAppeared, this, &DesktopNotificationCenter::serverAppeared);
}

DesktopNotificationCenter::~DesktopNotificationCenter()
{
    if (m_reading.valid())
        m_reading.wait();
    if (m_saveTimer.isActive())
        save();
}

void DesktopNotificationCenter::start()
{
    if (m_loading != Loading::notStarted)
        return;
    m_loading = Loading::reading;
    m_reading = std::async(std::launch::async, [this, path = m_keeper.path(), zone = m_zone] {
        Kept kept = read(path, zone);
        // The destructor waits for this thread, so `this` outlives the call posted here.
        QMetaObject::invokeMethod(this, &DesktopNotificationCenter::reschedule, Qt::QueuedConnection);
        return kept;
    });
}

void DesktopNotificationCenter::add(const NotificationRequest &request)
{
    ensureLoaded();
    followZone();
    const std::optional<qint64> due = ReminderSchedule::due(request.trigger, m_zone);
    if (!due)
        return;
    m_schedule.add(request, *due);
    save();
    reschedule();
}

void DesktopNotificationCenter::removePendingRequests(const QStringList &identifiers)
{
    ensureLoaded();
    bool removed = false;
    for (const QString &identifier : identifiers)
        removed = m_schedule.remove(identifier) || removed;
    if (removed)
        save();
    reschedule();
}

void DesktopNotificationCenter::requestAuthorization(std::function<void(bool granted)> completion)
{
    m_server.ask(-1, std::move(completion));
}

QList<NotificationRequest> DesktopNotificationCenter::pendingRequests() const
{
    // Reading the file first changes nothing anyone can see from outside.
    const_cast<DesktopNotificationCenter *>(this)->ensureLoaded();
    return m_schedule.requests();
}

void DesktopNotificationCenter::reschedule()
{
    ensureLoaded();
    followZone();
    const qint64 now = m_clock().toMSecsSinceEpoch();
    if (const std::optional<qint64> next = m_schedule.queueDue(now))
        m_timer.start(std::chrono::milliseconds(std::clamp(*next - now, qint64(0), longestWaitMs)));
    else
        m_timer.stop();
    pump();
}

void DesktopNotificationCenter::announce(const QString &title, const QString &body)
{
    m_server.announce(title, body);
}

DesktopNotificationCenter::Kept DesktopNotificationCenter::read(const QString &path, const QTimeZone &zone)
{
    Kept kept{ReminderKeeper::read(path), {}};
    kept.dues.reserve(kept.contents.requests.size());
    for (const NotificationRequest &request : std::as_const(kept.contents.requests))
        kept.dues.append(ReminderSchedule::due(request.trigger, zone));
    return kept;
}

void DesktopNotificationCenter::ensureLoaded()
{
    switch (m_loading) {
    case Loading::done:
        return;
    case Loading::notStarted:
        m_loading = Loading::done;
        load(read(m_keeper.path(), m_zone));
        return;
    case Loading::reading:
        m_loading = Loading::done;
        load(m_reading.get());
        return;
    }
}

void DesktopNotificationCenter::followZone()
{
    // A calendar trigger belongs to the wall clock wherever the machine now is.
    const QTimeZone zone = m_zoneNow();
    if (zone == m_zone)
        return;
    m_zone = zone;
    m_schedule.follow(zone);
}

void DesktopNotificationCenter::load(const Kept &kept)
{
    for (qsizetype i = 0; i < kept.contents.requests.size(); ++i) {
        if (kept.dues[i])
            m_schedule.add(kept.contents.requests[i], *kept.dues[i]);
    }
    if (m_keeper.adopt(kept.contents))
        save();
}

void DesktopNotificationCenter::save()
{
    m_saveTimer.stop();
    m_keeper.save(m_schedule.requests());
}

void DesktopNotificationCenter::saveSoon()
{
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
}

void DesktopNotificationCenter::pump()
{
    // One call at a time: the bus limits the replies a connection may await, and a
    // crash can then repeat only the one reminder on its way.
    if (m_sending || m_retry.isActive())
        return;
    if (m_unanswered) {
        ping();
        return;
    }
    if (const std::optional<ReminderSchedule::Outgoing> next = m_schedule.takeNext())
        send(*next);
}

void DesktopNotificationCenter::send(const ReminderSchedule::Outgoing &outgoing)
{
    m_sending = true;
    const NotificationRequest &request = outgoing.request;
    m_server.notify(request.identifier, request.title, request.body, request.sound, callTimeoutMs,
                    [this, outgoing](FreedesktopNotifications::Outcome outcome) { sent(outgoing, outcome); });
}

void DesktopNotificationCenter::sent(const ReminderSchedule::Outgoing &outgoing,
                                     FreedesktopNotifications::Outcome outcome)
{
    m_sending = false;
    if (outcome != FreedesktopNotifications::Outcome::shown) {
        m_schedule.sendAgain(outgoing);
        // A server that hangs may still show the call it holds once it wakes: ask it
        // something harmless until it answers rather than pile up copies behind it.
        m_unanswered = outcome == FreedesktopNotifications::Outcome::unanswered;
        retryLater();
        return;
    }
    m_backoffMs = 0;
    if (m_schedule.shown(outgoing)) {
        m_keeper.journal(outgoing.request);
        saveSoon();
    }
    pump();
}

void DesktopNotificationCenter::retryLater()
{
    m_backoffMs = m_backoffMs == 0 ? firstRetryMs : std::min(2 * m_backoffMs, longestRetryMs);
    m_retry.start(m_backoffMs);
}

void DesktopNotificationCenter::ping()
{
    m_sending = true;
    m_server.ask(callTimeoutMs, [this](bool answered) {
        m_sending = false;
        if (!answered) {
            retryLater();
            return;
        }
        m_unanswered = false;
        m_backoffMs = 0;
        pump();
    });
}

void DesktopNotificationCenter::serverAppeared()
{
    m_unanswered = false;
    m_backoffMs = 0;
    m_retry.stop();
    pump();
}
