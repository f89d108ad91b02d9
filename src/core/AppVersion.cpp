#include "AppVersion.h"

#include <QCoreApplication>

std::optional<QString> AppVersion::shortVersionString()
{
    const QString version = QCoreApplication::applicationVersion();
    if (version.isEmpty())
        return std::nullopt;
    return version;
}

QString AppVersion::current(const QString &fallback)
{
    return shortVersionString().value_or(fallback);
}
