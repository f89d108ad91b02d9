#pragma once

#include <QColor>
#include <QIcon>
#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// System symbol names, as the screens name their icons, drawn from the installed
// Material Icons font.
class Symbols : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString fontFamily READ fontFamily CONSTANT)

public:
    static Symbols &instance();
    static Symbols *create(QQmlEngine *, QJSEngine *);

    static QString fontFamily() { return QStringLiteral("Material Icons"); }
    static QStringList names();
    // The glyph for a symbol name; "" for a name we do not know.
    Q_INVOKABLE static QString glyph(const QString &name);
    // "forward" and "backward" symbols point along the reading direction, so they
    // are drawn mirrored in a right-to-left layout.
    Q_INVOKABLE static bool followsReading(const QString &name);
    // The name of the icon in the font, e.g. "add_comment".
    static QString materialName(const QString &name);
    // The symbol as a window or tray icon.
    static QIcon icon(const QString &name, const QColor &color);

private:
    using QObject::QObject;
};
