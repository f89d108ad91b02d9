#include "SingleInstance.h"

#include <QDataStream>
#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

namespace {

QString runtimeFolder(const QString &folder)
{
    if (!folder.isEmpty())
        return folder;
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return runtime.isEmpty() ? QDir::tempPath() : runtime;
}

constexpr int attempts = 50;
constexpr int attemptPauseMs = 100;
constexpr char acknowledgement = '\x06';
constexpr char refusal = '\x15';
// Carrying out the arguments may mean opening a window or writing to the store.
constexpr int answerTimeoutMs = 10'000;

} // namespace

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent),
      m_socketPath(runtimeFolder(folder) + QStringLiteral("/fikranest.socket")),
      m_lock(runtimeFolder(folder) + QStringLiteral("/fikranest.lock"))
{
    m_lock.setStaleLockTime(0);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::Role SingleInstance::claim(const QStringList &arguments)
{
    // The lock decides who serves; a launch that loses the race keeps trying to reach
    // the winner until its socket is up.
    for (int attempt = 0; attempt < attempts; ++attempt) {
        switch (handOver(arguments)) {
        case Answer::done:
            return Role::handedOver;
        case Answer::refused:
            return Role::refused;
        case Answer::silent:
            m_error = QStringLiteral("the running instance does not answer");
            return Role::failed;
        case Answer::none:
            break;
        }
        if (m_lock.tryLock(0)) {
            QLocalServer::removeServer(m_socketPath);
            m_server.setSocketOptions(QLocalServer::UserAccessOption);
            if (m_server.listen(m_socketPath))
                return Role::primary;
            m_error = m_server.errorString();
            m_lock.unlock();
            return Role::failed;
        }
        QThread::msleep(attemptPauseMs);
    }
    m_error = QStringLiteral("the running instance does not answer");
    return Role::failed;
}

SingleInstance::Answer SingleInstance::handOver(const QStringList &arguments)
{
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(1000))
        return Answer::none;
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << arguments;
    QDataStream stream(&socket);
    stream << message;
    if (!socket.waitForBytesWritten(1000))
        return Answer::none;
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(answerTimeoutMs))
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
            QDataStream in(message);
            in >> arguments;
            const bool done = !m_handler || m_handler(arguments);
            socket->putChar(done ? acknowledgement : refusal);
            socket->flush();
        });
    }
}
