#include "SingleInstance.h"

#include <QDataStream>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QThread>
#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QString runtimeFolder(const QString &folder)
{
    if (!folder.isEmpty())
        return folder;
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return runtime.isEmpty() ? QDir::tempPath() : runtime;
}

constexpr int attemptPauseMs = 100;
constexpr char acknowledgement = '\x06';
constexpr char refusal = '\x15';
// A message travels as a QDataStream QByteArray: its length, big-endian, then its bytes.
constexpr qsizetype lengthBytes = 4;
// A running instance's answer is one status byte and one short line.
constexpr qsizetype maxLineBytes = 4096;

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

// A later launch's connection, closed with the watcher that owns it.
struct Caller
{
    explicit Caller(int fd) : fd(fd) {}
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;
    ~Caller() { ::close(fd); }

    int fd;
    QByteArray received;
    bool answered = false;
};

} // namespace

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent),
      m_socketPath(runtimeFolder(folder) + QStringLiteral("/fikranest.socket")),
      m_lock(runtimeFolder(folder) + QStringLiteral("/fikranest.lock"))
{
    m_lock.setStaleLockTime(0);
}

SingleInstance::~SingleInstance()
{
    if (m_listener < 0)
        return;
    m_listening.reset();
    ::close(m_listener);
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
            break;
        }
        if (m_lock.tryLock(0)) {
            // Left behind by one that was killed.
            QFile::remove(m_socketPath);
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
    // Bound in a private folder beside it and moved into place, so that only this user
    // can ever connect, even where the folder is shared (the temporary one).
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
    if (step) {
        m_error = failure(step);
        if (listener >= 0)
            ::close(listener);
        ::unlink(bound.constData());
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
    const std::optional<sockaddr_un> server = address(m_socketPath);
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
    // The moment this launch gives up, so that a running instance that wakes up later
    // does not carry out what the user was already told had failed.
    const qint64 givesUpAt = QDateTime::currentMSecsSinceEpoch() + deadline.remainingTime();
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << arguments << givesUpAt;
    QByteArray framed;
    QDataStream frame(&framed, QIODevice::WriteOnly);
    frame << message;
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
        auto caller = std::make_shared<Caller>(fd);
        auto *watcher = new QSocketNotifier(fd, QSocketNotifier::Read, this);
        const auto hangUp = [watcher] {
            watcher->setEnabled(false);
            watcher->deleteLater();
        };
        connect(watcher, &QSocketNotifier::activated, this, [this, caller, hangUp] {
            char buffer[4096];
            for (;;) {
                const ssize_t got = ::recv(caller->fd, buffer, sizeof(buffer), 0);
                if (got > 0) {
                    caller->received.append(buffer, got);
                    continue;
                }
                if (got < 0 && errno == EINTR)
                    continue;
                if (got == 0 || errno != EAGAIN)
                    return hangUp();
                break;
            }
            if (caller->answered || caller->received.size() < lengthBytes)
                return;
            const quint32 length = qFromBigEndian<quint32>(caller->received.constData());
            // All ones is how the stream writes a null array.
            const qsizetype size = length == 0xFFFFFFFF ? 0 : qsizetype(length);
            if (caller->received.size() - lengthBytes < size)
                return;
            caller->answered = true;
            // The reply keeps the connection open until it is sent, however long the work takes.
            const Reply reply = [caller, hangUp](bool done, const QString &line) {
                const QByteArray answer = (done ? acknowledgement : refusal) + line.toUtf8();
                for (qsizetype sent = 0; sent < answer.size();) {
                    const ssize_t written = ::send(caller->fd, answer.constData() + sent,
                                                   size_t(answer.size() - sent), MSG_NOSIGNAL);
                    if (written > 0)
                        sent += written;
                    else if (errno != EINTR && (errno != EAGAIN || !await(caller->fd, POLLOUT, QDeadlineTimer(1000))))
                        break;
                }
                hangUp();
            };
            if (!answer(caller->received.mid(lengthBytes, size), reply))
                hangUp();
        });
    }
}

bool SingleInstance::answer(const QByteArray &message, const Reply &reply)
{
    QStringList arguments;
    qint64 givesUpAt = 0;
    QDataStream in(message);
    in >> arguments >> givesUpAt;
    if (in.status() != QDataStream::Ok || QDateTime::currentMSecsSinceEpoch() > givesUpAt)
        return false;
    if (m_handler)
        m_handler(arguments, reply);
    else
        reply(true, {});
    return true;
}
