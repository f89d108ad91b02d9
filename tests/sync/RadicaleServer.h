#pragma once

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

// Debian's Radicale on 127.0.0.1 with one user, its storage in a temporary folder. stop()
// and start() bring it down and back on the same port and storage, as a server that goes
// away in the middle of a sync.
class RadicaleServer
{
public:
    const QString user = QStringLiteral("nour");
    const QString password = QStringLiteral("كلمة سرّ 42");

    RadicaleServer()
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        m_port = probe.serverPort();
        probe.close();

        QFile users(m_dir.filePath(QStringLiteral("users")));
        users.open(QIODevice::WriteOnly);
        users.write((user + QLatin1Char(':') + password + QLatin1Char('\n')).toUtf8());
        users.close();

        QFile config(m_dir.filePath(QStringLiteral("config")));
        config.open(QIODevice::WriteOnly);
        config.write(QStringLiteral("[server]\nhosts = 127.0.0.1:%1\n"
                                    "[auth]\ntype = htpasswd\nhtpasswd_filename = %2\n"
                                    "htpasswd_encryption = plain\ndelay = 0\n"
                                    "[rights]\ntype = owner_only\n"
                                    "[storage]\nfilesystem_folder = %3\n"
                                    "[web]\ntype = none\n"
                                    "[logging]\nlevel = critical\nmask_passwords = True\n")
                         .arg(m_port)
                         .arg(users.fileName(), m_dir.filePath(QStringLiteral("collections")))
                         .toUtf8());
        config.close();
        start();
    }

    ~RadicaleServer() { stop(); }

    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port)); }

    // True once it answers on its port.
    bool start()
    {
        // Debian's own interpreter: the one first on PATH may lack the radicale module.
        m_process.setProgram(QStringLiteral("/usr/bin/python3"));
        m_process.setArguments({QStringLiteral("-m"), QStringLiteral("radicale"), QStringLiteral("--config"),
                                m_dir.filePath(QStringLiteral("config"))});
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start();
        if (!m_process.waitForStarted())
            return false;
        for (int attempt = 0; attempt < 200 && m_process.state() == QProcess::Running; ++attempt) {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress::LocalHost, m_port);
            if (socket.waitForConnected(100))
                return true;
            QThread::msleep(50);
        }
        return false;
    }

    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(10000)) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    quint16 m_port = 0;
};
