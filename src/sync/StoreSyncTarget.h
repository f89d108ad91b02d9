#pragma once

#include "SyncEngine.h"

#include <QObject>
#include <QPointer>

#include <atomic>
#include <functional>
#include <memory>

// The ideas as a pass sees them from the sync thread: read through a connection of its
// own, so the window never waits on the reading, and written on the thread that owns the
// store, one batch at a time, so every list follows and no frame waits long.
class StoreSyncTarget : public SyncEngine::Target
{
public:
    using Apply = std::function<bool(const QList<SyncChange> &)>;

    // `apply` runs on `owner`'s thread; `stopping` says the program is closing, when a
    // batch still waiting there is given up on.
    StoreSyncTarget(const QString &storePath, QObject *owner, Apply apply,
                    std::shared_ptr<std::atomic_bool> stopping);

    QList<Idea> ideas() override;
    bool apply(const QList<SyncChange> &changes) override;

private:
    QString m_storePath;
    QPointer<QObject> m_owner;
    Apply m_apply;
    std::shared_ptr<std::atomic_bool> m_stopping;
};
