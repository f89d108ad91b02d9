#pragma once

#include "Appcast.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <optional>

class QJSEngine;
class QNetworkAccessManager;
class QNetworkReply;
class QQmlEngine;
class QQuickWindow;
class QTemporaryFile;

// Looks for a newer release when the user asks, believing only a feed signed with the
// release key, shows the answer in its own window, and on request downloads the release
// into the downloads folder, keeping it only when its length and signature check out.
// Nothing of it exists, and nothing goes out to the network, before the first request;
// from then on the one instance lives as long as the process.
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
    // Share of the download received, 0 to 1; -1 while its size is unknown.
    Q_PROPERTY(double downloadProgress READ downloadProgress NOTIFY downloadProgressChanged)
    Q_PROPERTY(QString downloadedFileName READ downloadedFileName NOTIFY changed)

public:
    // Capitalised, as QML reaches enumerations only by such names.
    enum State { Idle, Checking, UpToDate, UpdateAvailable, Downloading, Downloaded, Failed };
    Q_ENUM(State)
    enum class Failure {
        noNetwork,
        badFeed,
        hugeFeed,
        unsignedFeed,
        downloadFailed,
        tooLarge,
        noRoom,
        badLength,
        badSignature,
        cannotSave
    };

    // Feeds larger than this are no feed of ours, and releases larger than this no release.
    static constexpr qint64 maxFeedBytes = 4 * 1024 * 1024;
    static constexpr qint64 maxDownloadBytes = qint64(1) << 30;
    // Left free on the downloads disk, so that an update never fills it for everything else.
    static constexpr qint64 spareDiskBytes = qint64(100) << 20;
    static constexpr int timeoutMs = 20'000;

    UpdaterManager(QUrl feedUrl, QString currentVersion, QByteArray publicKey, QObject *parent = nullptr);
    ~UpdaterManager() override;

    // The process's one instance, created on first use; its windows come from `engine`.
    static UpdaterManager *shared(QQmlEngine *engine);
    static UpdaterManager *create(QQmlEngine *engine, QJSEngine *);
    // The build's feed; test builds may point it elsewhere through the environment.
    static QUrl defaultFeedUrl();
    static QString textFor(Failure failure);
    // Why a release declaring `length` bytes (-1: unknown) may not be fetched to a disk
    // with `available` bytes free; nullopt when it may.
    static std::optional<Failure> refusalToDownload(qint64 length, qint64 available);

    State state() const { return m_state; }
    QString currentVersion() const { return m_currentVersion; }
    QString newVersion() const { return m_newVersion; }
    QString releaseNotes() const { return m_releaseNotes; }
    QString releaseNotesText() const { return m_releaseNotesText; }
    QString failureText() const { return m_failureText; }
    double downloadProgress() const { return m_downloadProgress; }
    QString downloadedFileName() const;

    // Brings the window forward; starts a check unless the window is already up.
    Q_INVOKABLE void checkForUpdates();
    // Stops a check under way and puts the window away; stops a download under way
    // and goes back to the offer.
    Q_INVOKABLE void cancel();
    // Fetches the release on offer into the downloads folder and shows it there.
    Q_INVOKABLE void download();
    // Shows the downloaded release in the file manager again.
    Q_INVOKABLE void showDownload() const;

    // The answer to a check: a feed as it arrived, or why none did.
    void takeFeed(const QByteArray &xml);
    void fail(Failure failure);

signals:
    void changed();
    void downloadProgressChanged();

private:
    QNetworkReply *get(const QUrl &url);
    void startCheck();
    bool takeFeedChunk();
    void finishReply();
    void takeDownloadChunk();
    void finishDownload();
    void dropDownload();
    void abortReply();
    void showWindow();
    void setState(State state);

    QUrl m_feedUrl;
    QString m_currentVersion;
    QByteArray m_publicKey;
    QPointer<QQmlEngine> m_engine;
    QPointer<QQuickWindow> m_window;
    QNetworkAccessManager *m_network = nullptr;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_feed;
    State m_state = Idle;
    QString m_newVersion;
    QString m_releaseNotes;
    QString m_releaseNotesText;
    QString m_failureText;
    AppcastItem m_offer;
    QTemporaryFile *m_partFile = nullptr;
    // The most the download under way may write.
    qint64 m_downloadLimit = 0;
    QString m_downloadedPath;
    double m_downloadProgress = 0;
};
