#include "AppEvents.h"

#include <QJSEngine>

AppEvents &AppEvents::instance()
{
    static AppEvents events;
    return events;
}

AppEvents *AppEvents::create(QQmlEngine *, QJSEngine *)
{
    QJSEngine::setObjectOwnership(&instance(), QJSEngine::CppOwnership);
    return &instance();
}
