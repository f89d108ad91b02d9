#pragma once

#include <QString>

// The program's own libraries that load only when first needed (the microphone, the
// updater): each is looked for beside the program, then where it is installed, and once
// loaded it stays for the life of the process.
namespace OwnLibrary {

// The address of `symbol` in the library named `fileName` beside the program, or else
// at `installedPath`; null, with the reasons on stderr, when neither loads or has it.
void *symbol(const QString &fileName, const QString &installedPath, const char *symbol);

} // namespace OwnLibrary
