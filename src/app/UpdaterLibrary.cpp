#include "UpdaterLibrary.h"

#include "UpdateCheck.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>

#include <dlfcn.h>

namespace {

using Check = decltype(&fikranest_check_for_updates);

Check load()
{
    QStringList failures;
    for (const QString &candidate : {QCoreApplication::applicationDirPath() + QStringLiteral("/libfikranest_update.so"),
                                     QStringLiteral(FIKRANEST_UPDATE_INSTALLED)}) {
        // Stays loaded: the updater keeps its window and its one manager for the whole run.
        void *library = dlopen(QFile::encodeName(candidate).constData(), RTLD_NOW | RTLD_LOCAL);
        if (!library) {
            failures << QString::fromLocal8Bit(dlerror());
            continue;
        }
        if (auto check = reinterpret_cast<Check>(dlsym(library, "fikranest_check_for_updates")))
            return check;
        failures << QString::fromLocal8Bit(dlerror());
    }
    qWarning("fikranest: cannot load the updater: %s", qPrintable(failures.join(QStringLiteral("; "))));
    return nullptr;
}

} // namespace

bool UpdaterLibrary::checkForUpdates(QQmlEngine &engine)
{
    static const Check check = load();
    if (!check)
        return false;
    check(&engine);
    return true;
}
