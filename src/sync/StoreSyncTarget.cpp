#include "StoreSyncTarget.h"

#include "IdeaStore.h"

#include <QSemaphore>

StoreSyncTarget::StoreSyncTarget(const QString &storePath, QObject *owner, Apply apply,
                                 std::shared_ptr<std::atomic_bool> stopping)
    : m_storePath(storePath), m_owner(owner), m_apply(std::move(apply)), m_stopping(std::move(stopping))
{
}

QList<Idea> StoreSyncTarget::ideas()
{
    IdeaStore::Opening opening = IdeaStore::open(m_storePath);
    return opening.store ? opening.store->allIdeas() : QList<Idea>();
}

bool StoreSyncTarget::apply(const QList<SyncChange> &changes)
{
    // Shared with the call, which may outlive this wait when the program is closing.
    struct Call
    {
        QSemaphore done;
        bool ok = false;
    };
    auto call = std::make_shared<Call>();
    if (!m_owner)
        return false;
    QMetaObject::invokeMethod(m_owner, [call, changes, apply = m_apply] {
        call->ok = apply(changes);
        call->done.release();
    });
    while (!call->done.tryAcquire(1, 100)) {
        if (*m_stopping)
            return false;
    }
    return call->ok;
}
