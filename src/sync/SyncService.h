#pragma once

#include "CalDavClient.h"
#include "SyncEngine.h"

#include <QDateTime>
#include <QObject>
#include <QThread>
#include <QTimer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <functional>
#include <memory>

class QJSEngine;
class QQmlEngine;

// Sync with the person's CalDAV task list while the program runs: connecting, when a
// pass runs (at start, soon after a change here, every five minutes, when the network
// returns, and when asked), how a failure is told and tried again, and what the settings
// card and the panel show. Every pass and every question to the server runs on a thread
// of its own; the ideas are written on this one, by the `Applier` the program hands in.
class SyncService : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool connected READ connected NOTIFY stateChanged)
    Q_PROPERTY(QString host READ host NOTIFY stateChanged)
    Q_PROPERTY(bool running READ running NOTIFY stateChanged)
    Q_PROPERTY(bool healthy READ healthy NOTIFY stateChanged)
    Q_PROPERTY(QDateTime lastSyncedAt READ lastSyncedAt NOTIFY stateChanged)
    Q_PROPERTY(QString failure READ failure NOTIFY stateChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)

public:
    using Applier = std::function<bool(const QList<SyncChange> &)>;
    using Done = std::function<void(bool ok, const QString &line)>;

    static SyncService &instance();
    static SyncService *create(QQmlEngine *, QJSEngine *);
    ~SyncService() override;

    // Starts serving the store at `storePath`; `apply` writes what came from the server.
    // With `automatic`, passes also run by themselves (the program; not the command line).
    void start(const QString &storePath, Applier apply, bool automatic = true);
    // Ends the sync thread; a pass cut short is picked up by the next one.
    void stop();

    bool connected() const { return m_account.isSet(); }
    QString host() const;
    bool running() const { return connected() && m_failure.isEmpty(); }
    bool healthy() const { return running(); }
    QDateTime lastSyncedAt() const { return m_lastSyncedAt; }
    QString failure() const { return m_failure; }
    bool busy() const { return m_busy; }

    // A pass now, or right after the one under way; `done` hears how it went.
    void syncNow(Done done);
    Q_INVOKABLE void syncNow() { syncNow(Done()); }

    // Connecting, as the settings sheet does: the lists of task lists found for the account
    // come back in `listsFound` (url, name), or `connectFailed` says why not.
    Q_INVOKABLE void findLists(const QString &server, const QString &user, const QString &password);
    // Keeps the account and its password, mirrors the list at `listUrl` (or a new one named
    // `newListName` when the address is empty), and runs the first pass.
    Q_INVOKABLE void useList(const QString &listUrl, const QString &newListName);
    // Forgets the account, its password and what sync remembered; the ideas stay. `done`
    // hears when all three are gone.
    void disconnectAccount(std::function<void()> done);
    Q_INVOKABLE void disconnectAccount() { disconnectAccount({}); }

    // The one line a pass ends with, for the command line.
    static QString summary(const SyncEngine::Report &report);
    // What to show for a failure.
    static QString failureText(CalDavClient::Failure failure);
    static QString noSecretStoreText();
    static QString disconnectedText();
    static QString unreadableText(int count);

signals:
    void stateChanged();
    void busyChanged();
    void listsFound(const QVariantList &lists);
    void connectFailed(const QString &text);
    // The account is kept and the first pass is under way.
    void connectedNow();

private:
    SyncService();

    struct Pending;
    void loadAccount(std::function<void()> then);
    void runPass();
    void finishPass(const SyncEngine::Report &report);
    void scheduleRetry(CalDavClient::Failure failure);
    void localChange();
    void keepWatching();
    template <typename Work>
    void onSyncThread(Work work);
    void setBusy(bool busy);
    void setFailure(const QString &failure);

    QThread m_thread;
    QObject *m_worker = nullptr;
    QString m_storePath;
    Applier m_apply;
    bool m_automatic = false;
    bool m_applying = false;
    bool m_watchingNetwork = false;
    std::shared_ptr<std::atomic_bool> m_stopping = std::make_shared<std::atomic_bool>(false);

    struct Account
    {
        QString server;
        QString user;
        QString list;
        QString password;
        bool isSet() const { return !server.isEmpty() && !list.isEmpty(); }
    };
    Account m_account;
    Account m_connecting;
    bool m_busy = false;
    bool m_again = false;
    bool m_blocked = false; // a wrong password or a gone list: no more tries until the person acts
    int m_failures = 0;
    QString m_failure;
    QDateTime m_lastSyncedAt;
    QList<Done> m_waiting;
    QTimer m_soon;
    QTimer m_every;
    QTimer m_retry;
};
