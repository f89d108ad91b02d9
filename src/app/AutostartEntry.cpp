#include "AutostartEntry.h"

#include "AppSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

QString AutostartEntry::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/autostart/fikranest.desktop");
}

bool AutostartEntry::keep(const QString &path, AppSettings &settings)
{
    if (settings.autostartWritten() || QFileInfo::exists(path))
        return true;
    QFile entry(QStringLiteral(":/data/fikranest-autostart.desktop"));
    QSaveFile file(path);
    if (!entry.open(QIODevice::ReadOnly) || !QDir().mkpath(QFileInfo(path).absolutePath())
        || !file.open(QIODevice::WriteOnly) || file.write(entry.readAll()) < 0 || !file.commit())
        return false;
    settings.setAutostartWritten();
    return true;
}
