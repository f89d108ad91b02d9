#pragma once

#include "CloudProbes.h"

// Answers like a platform configured by the test, and notes what it was asked.
class FakeCloudProbes : public CloudProbes
{
public:
    explicit FakeCloudProbes(const QString &folder) : m_folder(folder) {}

    QVariant entitlement;
    QVariant token;
    QString syncedError;
    bool localFails = false;
    mutable QStringList calls;

    QVariant entitlementValue() const override
    {
        calls << "entitlement";
        return entitlement;
    }
    QVariant identityToken() const override
    {
        calls << "token";
        return token;
    }
    Opening openSyncedStore() override
    {
        calls << "synced";
        if (!syncedError.isEmpty())
            return {nullptr, syncedError};
        return open("synced.sqlite");
    }
    Opening openLocalStore() override
    {
        calls << "local";
        if (localFails)
            return {nullptr, "disk on fire"};
        return open("local.sqlite");
    }

private:
    Opening open(const QString &name)
    {
        IdeaStore::Opening opening = IdeaStore::open(m_folder + "/" + name);
        return {std::move(opening.store), opening.error};
    }
    QString m_folder;
};
