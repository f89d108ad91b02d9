#pragma once

#include <QObject>
#include <QSettings>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// The persisted preferences, one shared object so that a write from any view
// refreshes every view that shows the same key.
class AppSettings : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool hasCompletedOnboarding READ hasCompletedOnboarding WRITE setHasCompletedOnboarding
                   NOTIFY hasCompletedOnboardingChanged)
    Q_PROPERTY(QString userName READ userName WRITE setUserName NOTIFY userNameChanged)
    Q_PROPERTY(QString lastSeenVersion READ lastSeenVersion WRITE setLastSeenVersion NOTIFY lastSeenVersionChanged)

public:
    static AppSettings &instance();
    // The speech model folder the user chose, empty for none. Safe from any thread.
    static QString speechModelFolder();
    static AppSettings *create(QQmlEngine *, QJSEngine *);

    bool hasCompletedOnboarding() const;
    void setHasCompletedOnboarding(bool value);
    QString userName() const;
    void setUserName(const QString &value);
    // Whether the login entry was ever written; once it was, its fate is the user's.
    bool autostartWritten() const;
    void setAutostartWritten();
    QString lastSeenVersion() const;
    void setLastSeenVersion(const QString &value);

    // The sync account without its password, which lives in the secret store.
    struct SyncAccount
    {
        QString server; // as the person typed it
        QString user;
        QString list;   // the task list's address
        bool isSet() const { return !server.isEmpty() && !list.isEmpty(); }
        friend bool operator==(const SyncAccount &, const SyncAccount &) = default;
    };
    // Read from the file each time: another launch of the program may have set it.
    SyncAccount syncAccount();
    // An empty account forgets the one there was.
    void setSyncAccount(const SyncAccount &account);

signals:
    void hasCompletedOnboardingChanged();
    void userNameChanged();
    void lastSeenVersionChanged();
    void syncAccountChanged();

private:
    AppSettings();
    void write(const QString &key, const QVariant &value);

    QSettings m_settings;
};
