#include "AppDelegate.h"

#include "AppEvents.h"
#include "AppSettings.h"

#include <QTimer>

void AppDelegate::applicationDidFinishLaunching(const AppSettings &settings, AppEvents &events)
{
    if (settings.hasCompletedOnboarding())
        return;
    QTimer::singleShot(openWindowDelayMs, &events, &AppEvents::postOpenMainWindow);
}
