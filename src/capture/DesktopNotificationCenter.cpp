#include "DesktopNotificationCenter.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <chrono>
#include <optional>

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

// The timer runs on the monotonic clock, which neither follows a changed wall clock
// nor counts a suspend; waking up at least this often bounds how late a reminder can be.
constexpr qint64 longestWaitMs = 30'000;

// The first instant at which the wall clock in `zone` reads the trigger's minute or
// later; invalid when the trigger names no real date and time.
QDateTime firstInstant(const NotificationTrigger &trigger, const QTimeZone &zone)
{
    const QDate date(trigger.year, trigger.month, trigger.day);
    const QTime time(trigger.hour, trigger.minute);
    if (!date.isValid() || !time.isValid())
        return {};
    return AppClock::firstInstantAt(date, time, zone);
}

QJsonObject toJson(const NotificationRequest &request)
{
    const NotificationTrigger &trigger = request.trigger;
    return {
        {"identifier", request.identifier},
        {"title", request.title},
        {"body", request.body},
        {"sound", request.sound},
        {"trigger", QJsonObject{{"year", trigger.year}, {"month", trigger.month}, {"day", trigger.day},
                                {"hour", trigger.hour}, {"minute", trigger.minute}}},
    };
}

std::optional<NotificationRequest> fromJson(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    const QJsonObject trigger = object.value("trigger").toObject();
    bool complete = true;
    const auto text = [&](const char *key) {
        const QJsonValue field = object.value(QLatin1String(key));
        complete = complete && field.isString();
        return field.toString();
    };
    const auto number = [&](const char *key) {
        const QJsonValue field = trigger.value(QLatin1String(key));
        const int whole = field.toInt();
        complete = complete && field.isDouble() && field.toDouble() == whole;
        return whole;
    };
    NotificationRequest request{
        text("identifier"),
        text("title"),
        text("body"),
        text("sound"),
        {number("year"), number("month"), number("day"), number("hour"), number("minute")},
    };
    if (!complete || request.identifier.isEmpty())
        return std::nullopt;
    return request;
}

QString asidePath(const QString &path)
{
    QString aside = path + QStringLiteral(".corrupt");
    for (int n = 2; QFileInfo::exists(aside); ++n)
        aside = path + QStringLiteral(".corrupt.") + QString::number(n);
    return aside;
}

} // namespace

DesktopNotificationCenter::DesktopNotificationCenter(const QString &path, const QDBusConnection &bus,
                                                     Clock clock, const QTimeZone &zone, QObject *parent)
    : NotificationCenter(parent), m_path(path), m_bus(bus), m_clock(std::move(clock)), m_zone(zone)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &DesktopNotificationCenter::reschedule);

    auto *server = new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(server, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &oldOwner, const QString &newOwner) {
                serverChanged(oldOwner, newOwner);
            });
    m_bus.connect(service, objectPath, interface, QStringLiteral("ActionInvoked"), this,
                  SLOT(onActionInvoked(uint,QString)));
    m_bus.connect(service, objectPath, interface, QStringLiteral("NotificationClosed"), this,
                  SLOT(onNotificationClosed(uint,uint)));

    load();
    reschedule();
}

QString DesktopNotificationCenter::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Fikranest/reminders.json");
}

void DesktopNotificationCenter::add(const NotificationRequest &request)
{
    const QDateTime due = firstInstant(request.trigger, m_zone);
    if (!due.isValid())
        return;
    m_pending.removeIf([&](const Pending &pending) { return pending.request.identifier == request.identifier; });
    m_pending.append({request, due, m_nextSerial++});
    save();
    reschedule();
}

void DesktopNotificationCenter::removePendingRequests(const QStringList &identifiers)
{
    if (m_pending.removeIf([&](const Pending &pending) { return identifiers.contains(pending.request.identifier); }))
        save();
    reschedule();
}

void DesktopNotificationCenter::requestAuthorization(std::function<void(bool granted)> completion)
{
    const QDBusMessage ask =
        QDBusMessage::createMethodCall(service, objectPath, interface, QStringLiteral("GetServerInformation"));
    auto *call = new QDBusPendingCallWatcher(m_bus.asyncCall(ask), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [completion = std::move(completion)](QDBusPendingCallWatcher *call) {
                call->deleteLater();
                completion(!call->isError());
            });
}

QList<NotificationRequest> DesktopNotificationCenter::pendingRequests() const
{
    QList<NotificationRequest> requests;
    for (const Pending &pending : m_pending)
        requests.append(pending.request);
    return requests;
}

void DesktopNotificationCenter::reschedule()
{
    const QDateTime now = m_clock();
    QDateTime next;
    for (Pending &pending : m_pending) {
        if (pending.state != State::waiting)
            continue;
        if (pending.due <= now)
            send(pending);
        else if (!next.isValid() || pending.due < next)
            next = pending.due;
    }
    if (next.isValid())
        m_timer.start(std::chrono::milliseconds(std::clamp(now.msecsTo(next), qint64(0), longestWaitMs)));
    else
        m_timer.stop();
}

void DesktopNotificationCenter::onActionInvoked(uint notificationId, const QString &actionKey)
{
    const auto shown = m_shown.constFind(notificationId);
    if (actionKey == QLatin1String("default") && shown != m_shown.constEnd())
        emit notificationActivated(*shown);
}

void DesktopNotificationCenter::onNotificationClosed(uint notificationId, uint)
{
    m_shown.remove(notificationId);
}

void DesktopNotificationCenter::load()
{
    QFile file(m_path);
    if (!file.exists())
        return;
    bool complete = file.open(QIODevice::ReadOnly);
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    complete = complete && document.isArray();
    for (const QJsonValue &value : document.array()) {
        const std::optional<NotificationRequest> request = fromJson(value);
        const QDateTime due = request ? firstInstant(request->trigger, m_zone) : QDateTime();
        if (!due.isValid()) {
            complete = false;
            continue;
        }
        m_pending.removeIf([&](const Pending &pending) { return pending.request.identifier == request->identifier; });
        m_pending.append({*request, due, m_nextSerial++});
    }
    if (complete)
        return;
    file.close();
    const QString aside = asidePath(m_path);
    if (file.rename(aside)) {
        qWarning("Reminders file %s could not be read in full; kept as %s", qPrintable(m_path), qPrintable(aside));
        save();
    } else {
        // Writing now would lose what could not be read: work from memory only.
        qWarning("Reminders file %s could not be read in full nor moved aside; changes will not be kept",
                 qPrintable(m_path));
        m_path.clear();
    }
}

void DesktopNotificationCenter::save() const
{
    if (m_path.isEmpty())
        return;
    QJsonArray requests;
    for (const Pending &pending : m_pending)
        requests.append(toJson(pending.request));
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(requests).toJson());
        file.commit();
    }
}

void DesktopNotificationCenter::send(Pending &pending)
{
    pending.state = State::sending;
    const NotificationRequest &request = pending.request;
    QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("fikranest")}};
    if (request.sound == QLatin1String("default"))
        hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
    else if (!request.sound.isEmpty())
        hints.insert(QStringLiteral("sound-name"), request.sound);

    QDBusMessage notify = QDBusMessage::createMethodCall(service, objectPath, interface, QStringLiteral("Notify"));
    notify << QStringLiteral("الفكرون") << uint(0) << QStringLiteral("fikranest") << request.title << request.body
           << QStringList{QStringLiteral("default"), QStringLiteral("افتح")} << hints << qint32(-1);
    // Never a blocking call: the server may be served by this very thread.
    auto *call = new QDBusPendingCallWatcher(m_bus.asyncCall(notify), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, identifier = request.identifier, serial = pending.serial](QDBusPendingCallWatcher *call) {
                sent(call, identifier, serial);
            });
}

void DesktopNotificationCenter::announce(const QString &title, const QString &body)
{
    QDBusMessage notify = QDBusMessage::createMethodCall(service, objectPath, interface, QStringLiteral("Notify"));
    notify << QStringLiteral("الفكرون") << uint(0) << QStringLiteral("fikranest") << title << body << QStringList()
           << QVariantMap{{QStringLiteral("desktop-entry"), QStringLiteral("fikranest")}} << qint32(-1);
    m_bus.asyncCall(notify);
}

void DesktopNotificationCenter::sent(QDBusPendingCallWatcher *call, const QString &identifier, quint64 serial)
{
    call->deleteLater();
    const QDBusPendingReply<uint> reply = *call;
    // By serial: a request added again while this one was on its way is a new reminder.
    const auto sentOne = std::find_if(m_pending.begin(), m_pending.end(),
                                      [&](const Pending &pending) { return pending.serial == serial; });
    if (reply.isError()) {
        if (sentOne != m_pending.end())
            sentOne->state = State::held;
        return;
    }
    m_shown.insert(reply.value(), identifier);
    if (sentOne != m_pending.end()) {
        m_pending.erase(sentOne);
        save();
    }
}

void DesktopNotificationCenter::serverChanged(const QString &oldOwner, const QString &newOwner)
{
    // Ids belong to the server that issued them; a new one starts counting afresh.
    if (!oldOwner.isEmpty())
        m_shown.clear();
    if (newOwner.isEmpty())
        return;
    for (Pending &pending : m_pending) {
        if (pending.state == State::held)
            pending.state = State::waiting;
    }
    reschedule();
}
