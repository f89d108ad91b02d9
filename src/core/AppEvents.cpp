#include "AppEvents.h"

#include "QmlSingleton.h"

AppEvents &AppEvents::instance()
{
    static AppEvents events;
    return events;
}

AppEvents *AppEvents::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}
