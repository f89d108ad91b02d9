#pragma once

#include "IdeaStore.h"

#include <QObject>
#include <QVariant>

#include <memory>

// What the platform is asked when the store is opened and when the account changes.
class CloudProbes : public QObject
{
    Q_OBJECT

public:
    struct Opening
    {
        std::unique_ptr<IdeaStore> store;
        QString error;
    };

    using QObject::QObject;

    // The value of "com.apple.developer.icloud-services" for this process; invalid
    // when there is none or it cannot be read.
    virtual QVariant entitlementValue() const = 0;
    // Invalid when no account is signed in.
    virtual QVariant identityToken() const = 0;
    virtual Opening openSyncedStore() = 0;
    virtual Opening openLocalStore() = 0;

    // Absent: no. A list of texts: only if it names "CloudKit". Anything else: yes.
    static bool isCloudKitEntitled(const QVariant &value);

signals:
    void identityChanged();
};

// This build has no cloud entitlement and no account: always the local store.
class LocalCloudProbes final : public CloudProbes
{
    Q_OBJECT

public:
    explicit LocalCloudProbes(const QString &storePath, QObject *parent = nullptr)
        : CloudProbes(parent), m_storePath(storePath)
    {
    }

    QVariant entitlementValue() const override { return {}; }
    QVariant identityToken() const override { return {}; }
    Opening openSyncedStore() override;
    Opening openLocalStore() override;

private:
    QString m_storePath;
};
