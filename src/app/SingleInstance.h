#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <memory>

// One process per user: a later launch hands its arguments to the running one.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    enum class Role { primary, handedOver, failed };

    // `folder` holds the lock and the socket; the user's runtime folder by default.
    explicit SingleInstance(const QString &folder = {}, QObject *parent = nullptr);

    Role claim(const QStringList &arguments);
    QString errorString() const { return m_error; }

signals:
    void argumentsReceived(const QStringList &arguments);

private:
    bool handOver(const QStringList &arguments);
    void accept();

    QString m_socketPath;
    QLockFile m_lock;
    QLocalServer m_server;
    QString m_error;
};
