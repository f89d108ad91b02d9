#include "DesktopNotificationCenter.h"

#include "ReminderFile.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <chrono>
#include <optional>
#include <tuple>

#include <sys/stat.h>

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

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

constexpr QFileDevice::Permissions privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

// The harmless question that tells whether a server is there and answering.
QDBusMessage serverInformation()
{
    return QDBusMessage::createMethodCall(service, objectPath, interface, QStringLiteral("GetServerInformation"));
}

QString journalPath(const QString &path)
{
    return path + QStringLiteral(".shown");
}

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
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &DesktopNotificationCenter::pump);
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(rewriteDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &DesktopNotificationCenter::save);

    auto *server = new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(server, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &oldOwner, const QString &newOwner) {
                serverChanged(oldOwner, newOwner);
            });
    m_bus.connect(service, objectPath, interface, QStringLiteral("ActionInvoked"), this,
                  SLOT(onActionInvoked(uint,QString)));
    m_bus.connect(service, objectPath, interface, QStringLiteral("NotificationClosed"), this,
                  SLOT(onNotificationClosed(uint,uint)));
}

DesktopNotificationCenter::~DesktopNotificationCenter()
{
    if (m_reading.valid())
        m_reading.wait();
    if (m_saveTimer.isActive())
        save();
}

QString DesktopNotificationCenter::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Fikranest/reminders.json");
}

void DesktopNotificationCenter::start()
{
    if (m_loading != Loading::notStarted)
        return;
    m_loading = Loading::reading;
    m_reading = std::async(std::launch::async, [this, path = m_path, zone = m_zone] {
        Kept kept = read(path, zone);
        // The destructor waits for this thread, so `this` outlives the call posted here.
        QMetaObject::invokeMethod(this, &DesktopNotificationCenter::reschedule, Qt::QueuedConnection);
        return kept;
    });
}

void DesktopNotificationCenter::add(const NotificationRequest &request)
{
    ensureLoaded();
    const QDateTime due = firstInstant(request.trigger, m_zone);
    if (!due.isValid())
        return;
    m_pending.insert(request.identifier, {request, due.toMSecsSinceEpoch(), m_nextSerial++});
    save();
    reschedule();
}

void DesktopNotificationCenter::removePendingRequests(const QStringList &identifiers)
{
    ensureLoaded();
    bool removed = false;
    for (const QString &identifier : identifiers)
        removed = m_pending.remove(identifier) || removed;
    if (removed)
        save();
    reschedule();
}

void DesktopNotificationCenter::requestAuthorization(std::function<void(bool granted)> completion)
{
    auto *call = new QDBusPendingCallWatcher(m_bus.asyncCall(serverInformation()), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [completion = std::move(completion)](QDBusPendingCallWatcher *call) {
                call->deleteLater();
                completion(!call->isError());
            });
}

QList<NotificationRequest> DesktopNotificationCenter::pendingRequests() const
{
    // Reading the file first changes nothing anyone can see from outside.
    const_cast<DesktopNotificationCenter *>(this)->ensureLoaded();
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

void DesktopNotificationCenter::reschedule()
{
    ensureLoaded();
    const qint64 now = m_clock().toMSecsSinceEpoch();
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
    // Oldest minute first, and in the order they were set within a minute.
    std::sort(due.begin(), due.end(), [](const Pending *a, const Pending *b) {
        return std::tie(a->due, a->serial) < std::tie(b->due, b->serial);
    });
    for (Pending *pending : due) {
        pending->state = State::queued;
        m_queue.push_back({pending->request.identifier, pending->serial});
    }
    if (next)
        m_timer.start(std::chrono::milliseconds(std::clamp(*next - now, qint64(0), longestWaitMs)));
    else
        m_timer.stop();
    pump();
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

DesktopNotificationCenter::Kept DesktopNotificationCenter::read(const QString &path, const QTimeZone &zone)
{
    Kept kept;
    QFile file(path);
    if (path.isEmpty() || !file.exists())
        return kept;
    // Private whatever it was made with: reminders quote the ideas.
    file.setPermissions(privateFile);
    QFile::setPermissions(journalPath(path), privateFile);
    const bool opened = file.open(QIODevice::ReadOnly);
    QFile journal(journalPath(path));
    const QByteArray shown = journal.open(QIODevice::ReadOnly) ? journal.readAll() : QByteArray();
    ReminderFile::Contents contents = ReminderFile::read(file.readAll(), shown);
    kept.complete = opened && contents.complete;
    kept.journaled = contents.journaled;
    kept.dues.reserve(contents.requests.size());
    for (const NotificationRequest &request : contents.requests)
        kept.dues.append(firstInstant(request.trigger, zone).toMSecsSinceEpoch());
    kept.requests = std::move(contents.requests);
    return kept;
}

void DesktopNotificationCenter::ensureLoaded()
{
    switch (m_loading) {
    case Loading::done:
        return;
    case Loading::notStarted:
        m_loading = Loading::done;
        load(read(m_path, m_zone));
        return;
    case Loading::reading:
        m_loading = Loading::done;
        load(m_reading.get());
        return;
    }
}

void DesktopNotificationCenter::load(Kept kept)
{
    m_pending.reserve(kept.requests.size());
    for (qsizetype i = 0; i < kept.requests.size(); ++i)
        m_pending.insert(kept.requests[i].identifier, {kept.requests[i], kept.dues[i], m_nextSerial++});
    if (kept.complete) {
        // The array still lists what the journal says was shown: settle that now.
        if (kept.journaled)
            save();
        return;
    }
    const QString aside = asidePath(m_path);
    if (QFile::rename(m_path, aside)) {
        qWarning("Reminders file %s could not be read in full; kept as %s", qPrintable(m_path), qPrintable(aside));
        save();
    } else {
        // Writing now would lose what could not be read: work from memory only.
        qWarning("Reminders file %s could not be read in full nor moved aside; changes will not be kept",
                 qPrintable(m_path));
        m_path.clear();
    }
}

void DesktopNotificationCenter::save()
{
    m_saveTimer.stop();
    if (m_path.isEmpty())
        return;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("Cannot write the reminders file %s: %s", qPrintable(m_path), qPrintable(file.errorString()));
        return;
    }
    ::fchmod(file.handle(), S_IRUSR | S_IWUSR);
    file.write(ReminderFile::write(pendingRequests()));
    if (!file.commit()) {
        qWarning("Cannot write the reminders file %s: %s", qPrintable(m_path), qPrintable(file.errorString()));
        return;
    }
    // The array now says all the journal said.
    m_journal.close();
    QFile::remove(journalPath(m_path));
}

void DesktopNotificationCenter::saveSoon()
{
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
}

void DesktopNotificationCenter::journal(const NotificationRequest &request)
{
    if (m_path.isEmpty())
        return;
    if (!m_journal.isOpen()) {
        m_journal.setFileName(journalPath(m_path));
        if (!m_journal.open(QIODevice::WriteOnly | QIODevice::Append)) {
            qWarning("Cannot write the reminders journal %s: %s", qPrintable(m_journal.fileName()),
                     qPrintable(m_journal.errorString()));
            return;
        }
        ::fchmod(m_journal.handle(), S_IRUSR | S_IWUSR);
    }
    // Handed to the kernel at once, which is what outlives a crash of the program.
    m_journal.write(ReminderFile::journalLine(request));
    m_journal.flush();
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
    while (!m_queue.empty()) {
        const Queued next = m_queue.front();
        m_queue.pop_front();
        const auto pending = m_pending.find(next.identifier);
        if (pending != m_pending.end() && pending->serial == next.serial && pending->state == State::queued) {
            send(*pending);
            return;
        }
    }
}

void DesktopNotificationCenter::send(Pending &pending)
{
    pending.state = State::sending;
    m_sending = true;
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
    auto *call = new QDBusPendingCallWatcher(m_bus.asyncCall(notify, callTimeoutMs), this);
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
    m_sending = false;
    const QDBusPendingReply<uint> reply = *call;
    // By serial: a request added again while this one was on its way is a new reminder.
    const auto sentOne = m_pending.find(identifier);
    const bool stillPending = sentOne != m_pending.end() && sentOne->serial == serial;
    if (reply.isError()) {
        if (stillPending) {
            sentOne->state = State::queued;
            m_queue.push_back({identifier, serial});
        }
        // A server that hangs may still show the call it holds once it wakes: ask it
        // something harmless until it answers rather than pile up copies behind it.
        m_unanswered = reply.error().type() == QDBusError::NoReply;
        retryLater();
        return;
    }
    m_backoffMs = 0;
    m_shown.insert(reply.value(), identifier);
    if (stillPending) {
        journal(sentOne->request);
        m_pending.erase(sentOne);
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
    auto *call = new QDBusPendingCallWatcher(m_bus.asyncCall(serverInformation(), callTimeoutMs), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        m_sending = false;
        if (call->isError()) {
            retryLater();
            return;
        }
        m_unanswered = false;
        m_backoffMs = 0;
        pump();
    });
}

void DesktopNotificationCenter::serverChanged(const QString &oldOwner, const QString &newOwner)
{
    // Ids belong to the server that issued them; a new one starts counting afresh.
    if (!oldOwner.isEmpty())
        m_shown.clear();
    if (newOwner.isEmpty())
        return;
    m_unanswered = false;
    m_backoffMs = 0;
    m_retry.stop();
    pump();
}
