#pragma once

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// The words an idea is filed and tracked under, exactly as they are stored.
class Vocabulary : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QStringList categories READ categories CONSTANT)
    Q_PROPERTY(QStringList filterLabels READ filterLabels CONSTANT)
    Q_PROPERTY(QString defaultCategory READ defaultCategory CONSTANT)

public:
    static Vocabulary &instance();
    static Vocabulary *create(QQmlEngine *, QJSEngine *);

    // In the order every pick list offers them; the first is the default.
    static QStringList categories();
    static QString defaultCategory();
    // The list's filters: "all", the three categories, "has a reminder".
    static QStringList filterLabels();
    static QString allFilter();
    static QString reminderFilter();

    static QString active();
    static QString done();

    // Unknown words are shown like an idea.
    Q_INVOKABLE static QString emoji(const QString &category);
    // Completing toggles: "done" reopens, anything else completes.
    Q_INVOKABLE static QString toggledStatus(const QString &status);

private:
    using QObject::QObject;
};
