#include "ContentState.h"

#include "AppSettings.h"
#include "AppVersion.h"

bool ContentState::isWhatsNewDue(bool hasCompletedOnboarding, const QString &lastSeenVersion,
                                 const QString &currentVersion)
{
    return hasCompletedOnboarding && !lastSeenVersion.isEmpty() && lastSeenVersion != currentVersion;
}

void ContentState::appear()
{
    AppSettings &settings = AppSettings::instance();
    const QString current = AppVersion::current(versionFallback());
    if (isWhatsNewDue(settings.hasCompletedOnboarding(), settings.lastSeenVersion(), current))
        setShowWhatsNew(true);
    settings.setLastSeenVersion(current);
}

void ContentState::setShowWhatsNew(bool show)
{
    if (show == m_showWhatsNew)
        return;
    m_showWhatsNew = show;
    emit showWhatsNewChanged();
}
