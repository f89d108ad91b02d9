#pragma once

#include <QString>

// The desktop's file manager, reached over the session bus.
class FileManager
{
public:
    // Opens a file manager window on the folder of `path` with the file selected; a
    // desktop whose file manager does not offer that gets the folder opened instead.
    static void showItem(const QString &path);
};
