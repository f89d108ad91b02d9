#pragma once

#include "AppClock.h"
#include "NotificationCenter.h"

#include <QDBusConnection>
#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QTimeZone>
#include <QTimer>

#include <deque>
#include <future>

class QDBusPendingCallWatcher;

// Reminders for the Linux desktop: requests are kept in a JSON file and shown through
// org.freedesktop.Notifications when their minute comes, provided the program runs
// then; one whose minute passed while it was closed is shown at the next start.
//
// A request fires at the first instant the local wall clock reaches its minute: for a
// minute skipped when clocks go forward that is the moment of the jump, and for a
// minute that occurs twice it is the first time round.
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

    // Keeps the requests at `path`, and the journal of those shown at "<path>.shown".
    // Nothing is read until `start()` or the first call that needs the requests. A file
    // that cannot be read in full is renamed "<path>.corrupt" (".corrupt.2" and on when
    // that exists), never deleted, and whatever could be read from it is kept and
    // written back to `path`; if it cannot be moved, nothing is written over it and
    // changes live only in memory.
    explicit DesktopNotificationCenter(const QString &path,
                                       const QDBusConnection &bus = QDBusConnection::sessionBus(),
                                       Clock clock = &AppClock::now,
                                       const QTimeZone &zone = AppClock::timeZone(),
                                       QObject *parent = nullptr);
    ~DesktopNotificationCenter() override;

    // $XDG_DATA_HOME/Fikranest/reminders.json
    static QString defaultPath();

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
    // wall clock may have jumped.
    void reschedule();
    // Shows a word from the program right away; nothing is kept or retried.
    void announce(const QString &title, const QString &body);

private slots:
    void onActionInvoked(uint notificationId, const QString &actionKey);
    void onNotificationClosed(uint notificationId, uint reason);

private:
    enum class State { waiting, queued, sending };

    struct Pending
    {
        NotificationRequest request;
        qint64 due = 0; // ms since the epoch, which compares far faster than a zoned QDateTime
        quint64 serial = 0; // tells a replacement from the request it replaced
        State state = State::waiting;
    };

    struct Queued
    {
        QString identifier;
        quint64 serial = 0;
    };

    // What `read` found, the due instants computed alongside.
    struct Kept
    {
        QList<NotificationRequest> requests;
        QList<qint64> dues;
        bool complete = true;
        bool journaled = false;
    };
    static Kept read(const QString &path, const QTimeZone &zone);
    void ensureLoaded();
    void load(Kept kept);
    void save();
    void saveSoon();
    void journal(const NotificationRequest &request);
    void pump();
    void ping();
    void retryLater();
    void send(Pending &pending);
    void sent(QDBusPendingCallWatcher *call, const QString &identifier, quint64 serial);
    void serverChanged(const QString &oldOwner, const QString &newOwner);

    QString m_path;
    QDBusConnection m_bus;
    Clock m_clock;
    QTimeZone m_zone;
    enum class Loading { notStarted, reading, done } m_loading = Loading::notStarted;
    std::future<Kept> m_reading;
    QHash<QString, Pending> m_pending;
    std::deque<Queued> m_queue;
    bool m_sending = false;
    // The last call timed out: the server must answer something before it gets another.
    bool m_unanswered = false;
    int m_backoffMs = 0;
    quint64 m_nextSerial = 1;
    QFile m_journal;
    QTimer m_timer;
    QTimer m_retry;
    QTimer m_saveTimer;
    // Notifications the current server showed for us, by its id.
    QHash<uint, QString> m_shown;
};
