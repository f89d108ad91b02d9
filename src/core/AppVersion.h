#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

// The program's version text, which a broken install may lack; each screen brings
// its own fallback.
class AppVersion : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    static std::optional<QString> shortVersionString();
    Q_INVOKABLE static QString current(const QString &fallback);
};
