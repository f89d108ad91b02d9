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
        if (handOver(arguments))
            return Role::handedOver;
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

bool SingleInstance::handOver(const QStringList &arguments)
{
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (!socket.waitForConnected(1000))
        return false;
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << arguments;
    QDataStream stream(&socket);
    stream << message;
    if (!socket.waitForBytesWritten(1000))
        return false;
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(3000))
            return false;
    }
    char answer = 0;
    return socket.getChar(&answer) && answer == acknowledgement;
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
            socket->putChar(acknowledgement);
            socket->flush();
            emit argumentsReceived(arguments);
        });
    }
}
