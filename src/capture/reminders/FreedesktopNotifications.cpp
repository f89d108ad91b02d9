#include "FreedesktopNotifications.h"

#include "AppWindow.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QStringList>

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

QDBusMessage notifyCall(const QString &title, const QString &body, const QStringList &actions, QVariantMap hints)
{
    hints.insert(QStringLiteral("desktop-entry"), QStringLiteral("fikranest"));
    QDBusMessage call = QDBusMessage::createMethodCall(service, objectPath, interface, QStringLiteral("Notify"));
    call << QStringLiteral("الفكرون") << uint(0) << QStringLiteral("fikranest") << title << body << actions << hints
         << qint32(-1);
    return call;
}

} // namespace

FreedesktopNotifications::FreedesktopNotifications(const QDBusConnection &bus, QObject *parent)
    : QObject(parent), m_bus(bus)
{
    auto *server = new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(server, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &oldOwner, const QString &newOwner) {
                // Ids belong to the server that issued them; a new one starts counting afresh.
                if (!oldOwner.isEmpty()) {
                    m_shown.clear();
                    m_activationTokens.clear();
                }
                if (!newOwner.isEmpty())
                    emit serverAppeared();
            });
    m_bus.connect(service, objectPath, interface, QStringLiteral("ActionInvoked"), this,
                  SLOT(onActionInvoked(uint,QString)));
    m_bus.connect(service, objectPath, interface, QStringLiteral("ActivationToken"), this,
                  SLOT(onActivationToken(uint,QString)));
    m_bus.connect(service, objectPath, interface, QStringLiteral("NotificationClosed"), this,
                  SLOT(onNotificationClosed(uint,uint)));
}

void FreedesktopNotifications::notify(const QString &identifier, const QString &title, const QString &body,
                                      const QString &sound, int timeoutMs, std::function<void(Outcome)> done)
{
    QVariantMap hints;
    if (sound == QLatin1String("default"))
        hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
    else if (!sound.isEmpty())
        hints.insert(QStringLiteral("sound-name"), sound);
    const QDBusMessage call = notifyCall(title, body, {QStringLiteral("default"), QStringLiteral("افتح")}, hints);
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, timeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, identifier, done = std::move(done)](QDBusPendingCallWatcher *watcher) {
                watcher->deleteLater();
                const QDBusPendingReply<uint> reply = *watcher;
                if (reply.isError()) {
                    done(reply.error().type() == QDBusError::NoReply ? Outcome::unanswered : Outcome::failed);
                    return;
                }
                m_shown.insert(reply.value(), identifier);
                done(Outcome::shown);
            });
}

void FreedesktopNotifications::announce(const QString &title, const QString &body)
{
    m_bus.asyncCall(notifyCall(title, body, {}, {}));
}

void FreedesktopNotifications::ask(int timeoutMs, std::function<void(bool answered)> done)
{
    const QDBusMessage call =
        QDBusMessage::createMethodCall(service, objectPath, interface, QStringLiteral("GetServerInformation"));
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, timeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [done = std::move(done)](QDBusPendingCallWatcher *watcher) {
                watcher->deleteLater();
                done(!watcher->isError());
            });
}

void FreedesktopNotifications::onActionInvoked(uint notificationId, const QString &actionKey)
{
    const QString token = m_activationTokens.take(notificationId);
    const auto shown = m_shown.constFind(notificationId);
    if (actionKey == QLatin1String("default") && shown != m_shown.constEnd()) {
        AppWindow::handActivationToken(token);
        emit activated(*shown);
    }
}

void FreedesktopNotifications::onActivationToken(uint notificationId, const QString &token)
{
    if (m_shown.contains(notificationId))
        m_activationTokens.insert(notificationId, token);
}

void FreedesktopNotifications::onNotificationClosed(uint notificationId, uint)
{
    m_shown.remove(notificationId);
    m_activationTokens.remove(notificationId);
}
