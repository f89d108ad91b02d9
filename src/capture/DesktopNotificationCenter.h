#pragma once

#include "AppClock.h"
#include "NotificationCenter.h"

#include <QDBusConnection>
#include <QDateTime>
#include <QHash>
#include <QTimeZone>
#include <QTimer>

class QDBusPendingCallWatcher;

// Reminders for the Linux desktop: requests are kept in a JSON file and shown through
// org.freedesktop.Notifications when their minute comes, provided the program runs
// then; one whose minute passed while it was closed is shown at the next start.
//
// A request fires at the first instant the local wall clock reaches its minute: for a
// minute skipped when clocks go forward that is the moment of the jump, and for a
// minute that occurs twice it is the first time round.
//
// A request stays pending until the notification server accepts it. When there is no
// server, or it refuses, the request waits for a server to (re)appear on the bus or
// for the next start. Delivery is at least once: a crash between the server's
// acceptance and the file being rewritten shows that reminder again at the next start.
class DesktopNotificationCenter : public NotificationCenter
{
    Q_OBJECT

public:
    using Clock = std::function<QDateTime()>;

    // Loads the requests kept at `path`. A file that cannot be read in full is renamed
    // "<path>.corrupt" (".corrupt.2" and on when that exists), never deleted, and
    // whatever could be read from it is kept and written back to `path`; if it cannot
    // be moved, nothing is written over it and changes live only in memory.
    explicit DesktopNotificationCenter(const QString &path,
                                       const QDBusConnection &bus = QDBusConnection::sessionBus(),
                                       Clock clock = &AppClock::now,
                                       const QTimeZone &zone = AppClock::timeZone(),
                                       QObject *parent = nullptr);

    // $XDG_DATA_HOME/Fikranest/reminders.json
    static QString defaultPath();

    // Ignores a request whose trigger is no real date and time.
    void add(const NotificationRequest &request) override;
    void removePendingRequests(const QStringList &identifiers) override;
    // Granted when a notification server answers on the bus. Not called back if the
    // centre is destroyed before the answer.
    void requestAuthorization(std::function<void(bool granted)> completion) override;
    QList<NotificationRequest> pendingRequests() const override;

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
    enum class State {
        waiting,
        sending,
        // The last attempt failed: wait for a server to (re)appear.
        held,
    };

    struct Pending
    {
        NotificationRequest request;
        QDateTime due;
        quint64 serial = 0; // tells a replacement from the request it replaced
        State state = State::waiting;
    };

    void load();
    void save() const;
    void send(Pending &pending);
    void sent(QDBusPendingCallWatcher *call, const QString &identifier, quint64 serial);
    void serverChanged(const QString &oldOwner, const QString &newOwner);

    QString m_path;
    QDBusConnection m_bus;
    Clock m_clock;
    QTimeZone m_zone;
    QList<Pending> m_pending;
    quint64 m_nextSerial = 1;
    QTimer m_timer;
    // Notifications the current server showed for us, by its id.
    QHash<uint, QString> m_shown;
};
