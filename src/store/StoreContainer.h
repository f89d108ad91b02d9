#pragma once

#include "IdeaStore.h"
#include "SyncStatus.h"

#include <memory>

class CloudProbes;

// The store opened at start-up together with the sync state it was opened under.
struct StoreContainer
{
    std::unique_ptr<IdeaStore> store;
    std::unique_ptr<SyncStatus> syncStatus;
    // Set only when not even the local store could be opened; the program stops then.
    QString failure;

    static StoreContainer create(CloudProbes &probes);
};
