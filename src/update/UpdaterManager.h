#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QNetworkAccessManager;
class QNetworkReply;
class QQmlEngine;
class QQuickWindow;

// Looks for a newer release when the user asks, and shows the answer in its own
// window. Nothing of it exists, and nothing goes out to the network, before the first
// request; from then on the one instance lives as long as the process.
class UpdaterManager : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(State state READ state NOTIFY changed)
    Q_PROPERTY(QString currentVersion READ currentVersion CONSTANT)
    Q_PROPERTY(QString newVersion READ newVersion NOTIFY changed)
    Q_PROPERTY(QString releaseNotes READ releaseNotes NOTIFY changed)
    Q_PROPERTY(QString releaseNotesText READ releaseNotesText NOTIFY changed)
    Q_PROPERTY(QString failureText READ failureText NOTIFY changed)

public:
    // Capitalised, as QML reaches enumerations only by such names.
    enum State { Idle, Checking, UpToDate, UpdateAvailable, Failed };
    Q_ENUM(State)
    enum class Failure { noNetwork, badFeed };

    // Feeds larger than this are no feed of ours.
    static constexpr qint64 maxFeedBytes = 4 * 1024 * 1024;
    static constexpr int timeoutMs = 20'000;

    UpdaterManager(QUrl feedUrl, QString currentVersion, QObject *parent = nullptr);

    // The process's one instance, created on first use; its windows come from `engine`.
    static UpdaterManager *shared(QQmlEngine *engine);
    static UpdaterManager *create(QQmlEngine *engine, QJSEngine *);
    // The build's feed; test builds may point it elsewhere through the environment.
    static QUrl defaultFeedUrl();
    static QString textFor(Failure failure);

    State state() const { return m_state; }
    QString currentVersion() const { return m_currentVersion; }
    QString newVersion() const { return m_newVersion; }
    QString releaseNotes() const { return m_releaseNotes; }
    QString releaseNotesText() const { return m_releaseNotesText; }
    QString failureText() const { return m_failureText; }

    // Brings the window forward; starts a check unless the window is already up.
    Q_INVOKABLE void checkForUpdates();
    // Stops a check under way and puts the window away.
    Q_INVOKABLE void cancel();

    // The answer to a check: a feed as it arrived, or why none did.
    void takeFeed(const QByteArray &xml);
    void fail(Failure failure);

signals:
    void changed();

private:
    void startCheck();
    void finishReply();
    void abortReply();
    void showWindow();
    void setState(State state);

    QUrl m_feedUrl;
    QString m_currentVersion;
    QPointer<QQmlEngine> m_engine;
    QPointer<QQuickWindow> m_window;
    QNetworkAccessManager *m_network = nullptr;
    QPointer<QNetworkReply> m_reply;
    State m_state = Idle;
    QString m_newVersion;
    QString m_releaseNotes;
    QString m_releaseNotesText;
    QString m_failureText;
};
