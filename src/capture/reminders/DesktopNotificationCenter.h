#pragma once

#include "AppClock.h"
#include "FreedesktopNotifications.h"
#include "NotificationCenter.h"
#include "ReminderKeeper.h"
#include "ReminderSchedule.h"

#include <QDBusConnection>
#include <QDateTime>
#include <QTimeZone>
#include <QTimer>

#include <future>

// Reminders for the Linux desktop: requests are kept on disk and shown through the
// desktop's notification server when their minute comes, provided the program runs
// then; one whose minute passed while it was closed is shown at the next start.
//
// Requests go to the server one at a time, and each one it accepts is written to a
// journal at once, so a crash can show again at most the one that was on its way.
// A call that fails, or that the server leaves unanswered, is tried again later,
// waiting longer each time, and at once when a server (re)appears on the bus.
class DesktopNotificationCenter : public NotificationCenter
{
    Q_OBJECT

public:
    using Clock = std::function<QDateTime()>;
    using Zone = std::function<QTimeZone()>;

    // Keeps the requests at `path` (see ReminderKeeper). Nothing is read until
    // `start()` or the first call that needs the requests. Each request falls due when
    // the wall clock of the zone `zone` gives at that moment reaches its minute.
    explicit DesktopNotificationCenter(const QString &path,
                                       const QDBusConnection &bus = QDBusConnection::sessionBus(),
                                       Clock clock = &AppClock::now, Zone zone = &AppClock::timeZone,
                                       QObject *parent = nullptr);
    ~DesktopNotificationCenter() override;

    // Ignores a request whose trigger is no real date and time.
    void add(const NotificationRequest &request) override;
    void removePendingRequests(const QStringList &identifiers) override;
    // Granted when a notification server answers on the bus. Not called back if the
    // centre is destroyed before the answer.
    void requestAuthorization(std::function<void(bool granted)> completion) override;
    QList<NotificationRequest> pendingRequests() const override;

    // Reads the kept requests off the main thread, then shows what is due. Called once
    // the main window is up, so that however many are kept, they never delay it.
    void start();

public slots:
    // Shows whatever is due now and sets the timer for the next one. Call it when the
    // wall clock may have jumped or the time zone changed.
    void reschedule();
    // Shows a word from the program right away; nothing is kept or retried.
    void announce(const QString &title, const QString &body);

private:
    // What the files hold, with each request's due instant worked out alongside.
    struct Kept
    {
        ReminderFile::Contents contents;
        QList<std::optional<qint64>> dues;
    };
    static Kept read(const QString &path, const QTimeZone &zone);
    void ensureLoaded();
    void followZone();
    void load(const Kept &kept);
    void save();
    void saveSoon();
    void pump();
    void ping();
    void retryLater();
    void send(const ReminderSchedule::Outgoing &outgoing);
    void sent(const ReminderSchedule::Outgoing &outgoing, FreedesktopNotifications::Outcome outcome);
    void serverAppeared();

    ReminderKeeper m_keeper;
    FreedesktopNotifications m_server;
    Clock m_clock;
    Zone m_zoneNow;
    // The zone the waiting requests' due instants are worked out in.
    QTimeZone m_zone;
    enum class Loading { notStarted, reading, done } m_loading = Loading::notStarted;
    std::future<Kept> m_reading;
    ReminderSchedule m_schedule;
    bool m_sending = false;
    // The last call timed out: the server must answer something before it gets another.
    bool m_unanswered = false;
    int m_backoffMs = 0;
    QTimer m_timer;
    QTimer m_retry;
    QTimer m_saveTimer;
};
