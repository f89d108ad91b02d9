#include "SyncStatus.h"

#include "CloudProbes.h"
#include "QmlSingleton.h"

namespace {
SyncStatus *sharedStatus = nullptr;
}

SyncStatus::SyncStatus(const Mode &mode, QObject *parent) : QObject(parent), m_mode(mode)
{
}

void SyncStatus::setMode(const Mode &mode)
{
    if (mode == m_mode)
        return;
    m_mode = mode;
    emit modeChanged();
}

void SyncStatus::recheck(const CloudProbes &probes)
{
    if (!CloudProbes::isCloudKitEntitled(probes.entitlementValue()))
        setLocalOnly(entitlementMissing());
    else if (probes.identityToken().isValid())
        setCloudKit();
    else
        setLocalOnly(signedOut());
}

void SyncStatus::setShared(SyncStatus *status)
{
    sharedStatus = status;
}

SyncStatus *SyncStatus::create(QQmlEngine *, QJSEngine *)
{
    Q_ASSERT(sharedStatus);
    return qmlSingleton(*sharedStatus);
}
