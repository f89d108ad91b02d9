#include "SingleInstance.h"

#include <QDataStream>
#include <QDateTime>
#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>

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

int remainingMs(const QDeadlineTimer &deadline)
{
    return int(deadline.remainingTime());
}

} // namespace

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent),
      m_socketPath(runtimeFolder(folder) + QStringLiteral("/fikranest.socket")),
      m_lock(runtimeFolder(folder) + QStringLiteral("/fikranest.lock"))
{
    m_lock.setStaleLockTime(0);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::Role SingleInstance::claim(const QStringList &arguments, bool serve)
{
    const QDeadlineTimer deadline(handOverLimitMs);
    // The lock decides who serves; a launch that loses the race keeps trying to reach
    // the winner until its socket is up.
    for (;;) {
        switch (handOver(arguments, deadline)) {
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
            QLocalServer::removeServer(m_socketPath);
            if (!serve)
                return Role::primary;
            m_server.setSocketOptions(QLocalServer::UserAccessOption);
            if (m_server.listen(m_socketPath))
                return Role::primary;
            m_error = m_server.errorString();
            m_lock.unlock();
            return Role::failed;
        }
        if (deadline.hasExpired())
            return Role::unanswered;
        QThread::msleep(std::min(attemptPauseMs, remainingMs(deadline)));
    }
}

SingleInstance::Answer SingleInstance::handOver(const QStringList &arguments, const QDeadlineTimer &deadline)
{
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(remainingMs(deadline)))
        return Answer::none;
    // The moment this launch gives up, so that a running instance that wakes up later
    // does not carry out what the user was already told had failed.
    const qint64 givesUpAt = QDateTime::currentMSecsSinceEpoch() + deadline.remainingTime();
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << arguments << givesUpAt;
    QDataStream stream(&socket);
    stream << message;
    if (!socket.waitForBytesWritten(remainingMs(deadline)))
        return Answer::none;
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(remainingMs(deadline)))
            return Answer::silent;
    }
    char answer = 0;
    if (!socket.getChar(&answer))
        return Answer::silent;
    return answer == acknowledgement ? Answer::done : answer == refusal ? Answer::refused : Answer::silent;
}

void SingleInstance::accept()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            QDataStream stream(socket);
            stream.startTransaction();
            QByteArray message;
            stream >> message;
            if (!stream.commitTransaction())
                return;
            QStringList arguments;
            qint64 givesUpAt = 0;
            QDataStream in(message);
            in >> arguments >> givesUpAt;
            if (in.status() != QDataStream::Ok || QDateTime::currentMSecsSinceEpoch() > givesUpAt) {
                socket->abort();
                return;
            }
            const bool done = !m_handler || m_handler(arguments);
            socket->putChar(done ? acknowledgement : refusal);
            socket->flush();
        });
    }
}
