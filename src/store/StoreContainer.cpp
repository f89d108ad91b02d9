#include "StoreContainer.h"

#include "CloudProbes.h"

StoreContainer StoreContainer::create(CloudProbes &probes)
{
    auto local = [&probes](const QString &reason) {
        CloudProbes::Opening opening = probes.openLocalStore();
        StoreContainer container;
        if (!opening.store) {
            container.failure = opening.error;
            return container;
        }
        container.store = std::move(opening.store);
        container.syncStatus = std::make_unique<SyncStatus>(SyncStatus::Mode::localOnly(reason));
        return container;
    };

    if (!CloudProbes::isCloudKitEntitled(probes.entitlementValue()))
        return local(SyncStatus::entitlementMissing());
    if (!probes.identityToken().isValid())
        return local(SyncStatus::notSignedIn());

    CloudProbes::Opening synced = probes.openSyncedStore();
    if (!synced.store)
        return local(synced.error);
    StoreContainer container;
    container.store = std::move(synced.store);
    container.syncStatus = std::make_unique<SyncStatus>(SyncStatus::Mode::cloudKit());
    return container;
}
