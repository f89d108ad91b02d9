#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QVariantMap>

#include <functional>

// The desktop's notification server (org.freedesktop.Notifications) as reminders
// use it: every call is asynchronous, since the server may be served by this very
// thread, and a click on a notification is told by the identifier it was sent with.
class FreedesktopNotifications : public QObject
{
    Q_OBJECT

public:
    // How a call went: shown, refused or missing, or left unanswered past its time.
    enum class Outcome { shown, failed, unanswered };

    explicit FreedesktopNotifications(const QDBusConnection &bus, QObject *parent = nullptr);

    // Shows one notification with an "افتح" action; `done` hears how it went unless
    // this object is gone first.
    void notify(const QString &identifier, const QString &title, const QString &body, const QString &sound,
                int timeoutMs, std::function<void(Outcome)> done);
    // A word from the program, neither clickable nor followed up.
    void announce(const QString &title, const QString &body);
    // Asks the server something harmless; `done` hears whether it answered.
    void ask(int timeoutMs, std::function<void(bool answered)> done);

signals:
    // The person clicked a notification sent for `identifier`.
    void activated(const QString &identifier);
    // A server took the name on the bus, for the first time or after another.
    void serverAppeared();

private slots:
    void onActionInvoked(uint notificationId, const QString &actionKey);
    // Sent just before ActionInvoked by servers that can: the leave for our window to come
    // forward on Wayland.
    void onActivationToken(uint notificationId, const QString &token);
    void onNotificationClosed(uint notificationId, uint reason);

private:
    QDBusConnection m_bus;
    // Notifications the current server showed for us, by its id.
    QHash<uint, QString> m_shown;
    // Activation tokens for those of them just clicked, until their action arrives.
    QHash<uint, QString> m_activationTokens;
};
