#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

class CloudProbes;
class QJSEngine;
class QQmlEngine;

// Whether the ideas sync through the user's cloud account or stay on this machine,
// and why. Observers hear only of real changes.
class SyncStatus : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool isCloudKit READ isCloudKit NOTIFY modeChanged)
    Q_PROPERTY(QString reason READ reason NOTIFY modeChanged)

public:
    class Mode
    {
    public:
        enum class Kind { localOnly, cloudKit };

        static Mode localOnly(const QString &reason) { return Mode(Kind::localOnly, reason); }
        static Mode cloudKit() { return Mode(Kind::cloudKit, {}); }

        Kind kind() const { return m_kind; }
        // Empty for cloudKit.
        QString reason() const { return m_reason; }

        friend bool operator==(const Mode &, const Mode &) = default;

    private:
        Mode(Kind kind, const QString &reason) : m_kind(kind), m_reason(reason) {}
        Kind m_kind;
        QString m_reason;
    };

    static QString entitlementMissing() { return QStringLiteral("CloudKit entitlement not present in this build"); }
    static QString notSignedIn() { return QStringLiteral("iCloud account is not signed in"); }
    static QString signedOut() { return QStringLiteral("iCloud account signed out"); }

    explicit SyncStatus(const Mode &mode, QObject *parent = nullptr);

    Mode mode() const { return m_mode; }
    bool isCloudKit() const { return m_mode.kind() == Mode::Kind::cloudKit; }
    QString reason() const { return m_mode.reason(); }

    void setLocalOnly(const QString &reason) { setMode(Mode::localOnly(reason)); }
    void setCloudKit() { setMode(Mode::cloudKit()); }
    void setMode(const Mode &mode);

    // After the account changed: says what the account now allows, but never touches
    // the store opened at start-up, which keeps serving until the next launch.
    void recheck(const CloudProbes &probes);

    static void setShared(SyncStatus *status);
    static SyncStatus *create(QQmlEngine *, QJSEngine *);

signals:
    void modeChanged();

private:
    Mode m_mode;
};
