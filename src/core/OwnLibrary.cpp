#include "OwnLibrary.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>

#include <dlfcn.h>

void *OwnLibrary::symbol(const QString &fileName, const QString &installedPath, const char *symbol)
{
    QStringList failures;
    for (const QString &candidate : {QCoreApplication::applicationDirPath() + u'/' + fileName, installedPath}) {
        void *library = dlopen(QFile::encodeName(candidate).constData(), RTLD_NOW | RTLD_LOCAL);
        if (!library) {
            failures << QString::fromLocal8Bit(dlerror());
            continue;
        }
        if (void *found = dlsym(library, symbol))
            return found;
        failures << QString::fromLocal8Bit(dlerror());
    }
    qWarning("fikranest: cannot load %s: %s", qPrintable(fileName), qPrintable(failures.join(QStringLiteral("; "))));
    return nullptr;
}
