#pragma once

class QQmlEngine;

// The updater lives in a library of its own, with Qt Network's HTTP and libcrypto, so
// that a start which never checks for updates never loads them.
class UpdaterLibrary
{
public:
    // Loads the library, from beside the program or where it is installed, on the first
    // call, and starts a check with its window made by `engine`. False when it will not load.
    static bool checkForUpdates(QQmlEngine &engine);
};
