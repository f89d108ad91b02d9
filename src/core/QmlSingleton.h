#pragma once

#include <QJSEngine>

// Every QML singleton of the program is the process's one object of its type, which
// C++ owns: each engine is handed that object and never makes or deletes one itself.
template <typename T>
T *qmlSingleton(T &object)
{
    QJSEngine::setObjectOwnership(&object, QJSEngine::CppOwnership);
    return &object;
}
