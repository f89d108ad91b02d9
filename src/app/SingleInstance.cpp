#include "SingleInstance.h"

#include "HandOverMessage.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QPointer>
#include <QSaveFile>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int attemptPauseMs = 100;
constexpr char acknowledgement = '\x06';
constexpr char refusal = '\x15';
// A running instance's answer is one status byte and one short line.
constexpr qsizetype maxLineBytes = 4096;
// A later launch sends its message at once; one that trickles, or never finishes, is
// dropped after this long, and no more than this many are heard at a time.
constexpr int callerLimitMs = 5'000;
constexpr qsizetype maxUnheard = 8;

// Only this user can reach into it: theirs, and closed to everyone else.
bool isPrivate(const QString &folder)
{
    struct stat entry = {};
    return !folder.isEmpty() && ::lstat(QFile::encodeName(folder).constData(), &entry) == 0 && S_ISDIR(entry.st_mode)
        && entry.st_uid == ::geteuid() && (entry.st_mode & 077) == 0;
}

// The runtime folder when it is the user's alone; without one (cron, su, ssh without a
// login session) a folder in their own cache, never one shared with other users.
QString socketFolder(const QString &runtimeFolder)
{
    const QString runtime = runtimeFolder.isEmpty() ? qEnvironmentVariable("XDG_RUNTIME_DIR") : runtimeFolder;
    if (isPrivate(runtime))
        return runtime;
    const QString own = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)
        + QStringLiteral("/Fikranest");
    QDir().mkpath(own);
    ::chmod(QFile::encodeName(own).constData(), S_IRWXU);
    return isPrivate(own) ? own : QString();
}

// One socket per store: two stores of one user each have their own running instance.
QString socketName(const QString &storeFolder)
{
    const QByteArray hash = QCryptographicHash::hash(QFile::encodeName(QDir(storeFolder).absolutePath()),
                                                     QCryptographicHash::Sha256);
    return QStringLiteral("fikranest-%1.socket").arg(QString::fromLatin1(hash.toHex().left(16)));
}

// The user id of the process at the other end of a connected Unix socket.
std::optional<uid_t> peerUser(int fd)
{
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || size != sizeof(credentials))
        return std::nullopt;
    return credentials.uid;
}

bool fromThisUser(int fd)
{
    const std::optional<uid_t> user = peerUser(fd);
    return user && *user == ::geteuid();
}

int remainingMs(const QDeadlineTimer &deadline)
{
    return int(std::max<qint64>(0, deadline.remainingTime()));
}

std::optional<sockaddr_un> address(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (size_t(name.size()) >= sizeof(address.sun_path))
        return std::nullopt;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    return address;
}

// Waits for `events` on `fd` until the deadline; false once it has passed.
bool await(int fd, short events, const QDeadlineTimer &deadline)
{
    for (;;) {
        pollfd watched = {fd, events, 0};
        const int ready = ::poll(&watched, 1, remainingMs(deadline));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

QString failure(const char *what)
{
    return QStringLiteral("%1: %2").arg(QLatin1StringView(what), qt_error_string(errno));
}

} // namespace

// A later launch's connection: open until the last of its watcher and its reply lets go.
struct SingleInstance::Caller
{
    explicit Caller(int fd) : fd(fd) {}
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;
    ~Caller() { ::close(fd); }

    // Stops listening to it; a reply on its way may still be sent.
    void hangUp()
    {
        if (!watcher)
            return;
        watcher->setEnabled(false);
        watcher->deleteLater();
        watcher = nullptr;
    }

    int fd;
    HandOverMessage message;
    QPointer<QSocketNotifier> watcher;
};

SingleInstance::SingleInstance(const QString &storeFolder, const QString &runtimeFolder, QObject *parent)
    : QObject(parent),
      m_notePath(storeFolder + QStringLiteral("/fikranest.instance")),
      m_socketPath(socketFolder(runtimeFolder)),
      m_lock(storeFolder + QStringLiteral("/fikranest.lock"))
{
    m_lock.setStaleLockTime(0);
    if (!m_socketPath.isEmpty())
        m_socketPath += u'/' + socketName(storeFolder);
    // The store's own folder, private as the store makes it, so that the lock can be taken
    // before the store is opened.
    if (QDir().mkpath(storeFolder))
        ::chmod(QFile::encodeName(storeFolder).constData(), S_IRWXU);
}

SingleInstance::~SingleInstance()
{
    if (m_listener < 0)
        return;
    m_listening.reset();
    ::close(m_listener);
    forget();
}

void SingleInstance::forget()
{
    QFile::remove(m_notePath);
    if (!m_socketPath.isEmpty())
        QFile::remove(m_socketPath);
}

SingleInstance::Role SingleInstance::claim(const QStringList &arguments, bool serve, int limitMs, QString *line)
{
    const QDeadlineTimer deadline(limitMs);
    // The lock decides who serves; a launch that loses the race keeps trying to reach
    // the winner until its socket is up.
    for (;;) {
        switch (handOver(arguments, deadline, line)) {
        case Answer::done:
            return Role::handedOver;
        case Answer::refused:
            return Role::refused;
        case Answer::silent:
            return Role::unanswered;
        case Answer::none:
        case Answer::stranger:
            break;
        }
        if (m_lock.tryLock(0)) {
            // Left behind by one that was killed.
            forget();
            if (!serve || listen())
                return Role::primary;
            m_lock.unlock();
            return Role::failed;
        }
        if (deadline.hasExpired())
            return Role::unanswered;
        QThread::msleep(std::min(attemptPauseMs, remainingMs(deadline)));
    }
}

bool SingleInstance::listen()
{
    if (m_socketPath.isEmpty()) {
        m_error = QStringLiteral("no folder of this user's alone to hold the socket in");
        return false;
    }
    // Bound in a private folder beside it and moved into place, so that it is never
    // reachable by anyone else, even for a moment, and replaces one left by a crash at once.
    const QString pattern = m_socketPath + QStringLiteral(".XXXXXX");
    const std::optional<sockaddr_un> final = address(m_socketPath);
    if (!final || !address(pattern + QStringLiteral("/s"))) {
        m_error = QStringLiteral("the socket's path is too long: %1").arg(m_socketPath);
        return false;
    }
    QByteArray folder = QFile::encodeName(pattern);
    if (!::mkdtemp(folder.data())) {
        m_error = failure("mkdtemp");
        return false;
    }
    const QByteArray bound = folder + "/s";
    const sockaddr_un temporary = *address(QFile::decodeName(bound));
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const char *step = listener < 0 ? "socket" : nullptr;
    if (!step && ::bind(listener, reinterpret_cast<const sockaddr *>(&temporary), sizeof(temporary)) != 0)
        step = "bind";
    if (!step && ::chmod(bound.constData(), S_IRWXU) != 0)
        step = "chmod";
    if (!step && ::listen(listener, SOMAXCONN) != 0)
        step = "listen";
    if (!step && ::rename(bound.constData(), final->sun_path) != 0)
        step = "rename";
    // Where later launches, whatever their session, find it.
    QSaveFile note(m_notePath);
    if (!step && !(note.open(QIODevice::WriteOnly) && note.write(QFile::encodeName(m_socketPath)) >= 0 && note.commit()))
        step = "write";
    if (step) {
        m_error = qstrcmp(step, "write") == 0 ? QStringLiteral("%1: %2").arg(m_notePath, note.errorString())
                                              : failure(step);
        if (listener >= 0)
            ::close(listener);
        ::unlink(bound.constData());
        ::unlink(final->sun_path);
    }
    ::rmdir(folder.constData());
    if (step)
        return false;
    m_listener = listener;
    m_listening = std::make_unique<QSocketNotifier>(listener, QSocketNotifier::Read);
    connect(m_listening.get(), &QSocketNotifier::activated, this, &SingleInstance::accept);
    return true;
}

SingleInstance::Answer SingleInstance::handOver(const QStringList &arguments, const QDeadlineTimer &deadline,
                                                QString *line)
{
    QFile note(m_notePath);
    if (!note.open(QIODevice::ReadOnly))
        return Answer::none;
    const std::optional<sockaddr_un> server = address(QFile::decodeName(note.read(sizeof(sockaddr_un::sun_path))));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (!server || fd < 0)
        return Answer::none;
    const auto closing = qScopeGuard([fd] { ::close(fd); });
    // A full backlog says to try again; no socket, or no one listening, says no one serves.
    while (::connect(fd, reinterpret_cast<const sockaddr *>(&*server), sizeof(*server)) != 0) {
        if ((errno != EAGAIN && errno != EINTR) || deadline.hasExpired())
            return Answer::none;
        QThread::msleep(std::min(10, remainingMs(deadline)));
    }
    if (!fromThisUser(fd)) {
        m_error = QStringLiteral("another user listens at %1").arg(QFile::decodeName(server->sun_path));
        return Answer::stranger;
    }
    // The moment this launch gives up, so that a running instance that wakes up later
    // does not carry out what the user was already told had failed.
    HandOverMessage message;
    message.arguments = arguments;
    message.givesUpAt = deadline.deadline();
    const QByteArray framed = message.framed();
    for (qsizetype sent = 0; sent < framed.size();) {
        const ssize_t written = ::send(fd, framed.constData() + sent, size_t(framed.size() - sent), MSG_NOSIGNAL);
        if (written > 0)
            sent += written;
        else if ((errno != EAGAIN && errno != EINTR) || !await(fd, POLLOUT, deadline))
            return Answer::none;
    }
    // The answer: one byte, then maybe a line, up to the running instance hanging up.
    QByteArray answer;
    for (;;) {
        char buffer[1024];
        const ssize_t got = ::recv(fd, buffer, sizeof(buffer), 0);
        if (got > 0 && answer.size() < maxLineBytes) {
            answer.append(buffer, got);
            continue;
        }
        if (got < 0 && (errno == EAGAIN || errno == EINTR) && await(fd, POLLIN, deadline))
            continue;
        if (answer.isEmpty())
            return Answer::silent;
        if (line)
            *line = QString::fromUtf8(answer.mid(1)).trimmed();
        const char status = answer.at(0);
        return status == acknowledgement ? Answer::done : status == refusal ? Answer::refused : Answer::silent;
    }
}

void SingleInstance::accept()
{
    for (;;) {
        const int fd = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED)
                continue;
            return;
        }
        if (!fromThisUser(fd)) {
            ::close(fd);
            continue;
        }
        // A launch sends its message at once, so the one waiting longest makes room.
        m_unheard.removeIf([](const std::weak_ptr<Caller> &waiting) { return waiting.expired(); });
        if (m_unheard.size() >= maxUnheard)
            m_unheard.takeFirst().lock()->hangUp();
        const auto caller = std::make_shared<Caller>(fd);
        m_unheard.append(caller);
        caller->watcher = new QSocketNotifier(fd, QSocketNotifier::Read, this);
        QTimer::singleShot(callerLimitMs, caller->watcher, [caller = std::weak_ptr(caller)] {
            if (const auto waiting = caller.lock(); waiting && waiting->message.state() == HandOverMessage::State::incomplete)
                waiting->hangUp();
        });
        // The watcher's connection holds the caller; hanging up lets it go.
        connect(caller->watcher, &QSocketNotifier::activated, this, [this, caller] { hear(caller); });
    }
}

void SingleInstance::hear(const std::shared_ptr<Caller> &caller)
{
    const bool waiting = caller->message.state() == HandOverMessage::State::incomplete;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::recv(caller->fd, buffer, sizeof(buffer), 0);
        if (got > 0 && caller->message.add(QByteArrayView(buffer, got)) == HandOverMessage::State::incomplete)
            continue;
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN)
            return;
        break;
    }
    // Hung up, refused, or more after a whole message: nothing more to hear from it.
    const HandOverMessage &message = caller->message;
    if (!waiting || message.state() != HandOverMessage::State::complete)
        return caller->hangUp();
    m_unheard.removeIf([&](const std::weak_ptr<Caller> &other) { return other.lock() == caller; });
    // The launch has given up by now: it was told this failed.
    if (QDeadlineTimer::current().deadline() >= message.givesUpAt)
        return caller->hangUp();
    // The connection stays open until the reply is sent, however long the work takes.
    const Reply reply = [caller](bool done, const QString &line) {
        const QByteArray answer = (done ? acknowledgement : refusal) + line.toUtf8();
        for (qsizetype sent = 0; sent < answer.size();) {
            const ssize_t written = ::send(caller->fd, answer.constData() + sent, size_t(answer.size() - sent),
                                           MSG_NOSIGNAL);
            if (written > 0)
                sent += written;
            else if (errno != EINTR && (errno != EAGAIN || !await(caller->fd, POLLOUT, QDeadlineTimer(1000))))
                break;
        }
        caller->hangUp();
    };
    if (m_handler)
        m_handler(message.arguments, reply);
    else
        reply(true, {});
}
