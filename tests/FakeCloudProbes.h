#pragma once

#include "CloudProbes.h"

// Answers like a platform configured by the test, and notes what it was asked.
class FakeCloudProbes : public CloudProbes
{
public:
    explicit FakeCloudProbes(const QString &folder) : m_folder(folder) {}

    QVariant entitlement;
    QVariant token;
    QString syncedError; // set: the synced store fails to open with it
    QString localError;
    mutable QStringList calls;

    QVariant entitlementValue() const override { return calls << "entitlement", entitlement; }
    QVariant identityToken() const override { return calls << "token", token; }
    Opening openSyncedStore() override { return calls << "synced", open("synced.sqlite", syncedError); }
    Opening openLocalStore() override { return calls << "local", open("local.sqlite", localError); }

private:
    Opening open(const QString &name, const QString &error)
    {
        if (!error.isEmpty())
            return {nullptr, error};
        IdeaStore::Opening opening = IdeaStore::open(m_folder + "/" + name);
        return {std::move(opening.store), opening.error};
    }
    QString m_folder;
};
