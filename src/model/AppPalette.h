#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// The shared blues every screen draws from.
class AppPalette : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor blue50 READ blue50 CONSTANT)
    Q_PROPERTY(QColor blue100 READ blue100 CONSTANT)
    Q_PROPERTY(QColor blue600 READ blue600 CONSTANT)
    Q_PROPERTY(QColor blue800 READ blue800 CONSTANT)

public:
    static AppPalette &instance();
    static AppPalette *create(QQmlEngine *, QJSEngine *);

    static constexpr QRgb rgbBlue50 = 0xFFF0F4FF;
    static constexpr QRgb rgbBlue100 = 0xFFDBEAFE;
    static constexpr QRgb rgbBlue600 = 0xFF2563EB;
    static constexpr QRgb rgbBlue800 = 0xFF1E40AF;

    QColor blue50() const { return QColor::fromRgb(rgbBlue50); }
    QColor blue100() const { return QColor::fromRgb(rgbBlue100); }
    QColor blue600() const { return QColor::fromRgb(rgbBlue600); }
    QColor blue800() const { return QColor::fromRgb(rgbBlue800); }

    // Each category's own blue, for its chip on a card; unknown words look like an idea.
    Q_INVOKABLE static QColor categoryColor(const QString &category);

private:
    using QObject::QObject;
};
