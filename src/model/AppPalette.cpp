#include "AppPalette.h"

#include "QmlSingleton.h"

QColor AppPalette::categoryColor(const QString &category)
{
    if (category == QStringLiteral("مهمة"))
        return QColor::fromRgb(rgbBlue800);
    if (category == QStringLiteral("ملاحظة"))
        return QColor::fromRgb(rgbBlue100);
    return QColor::fromRgb(rgbBlue600);
}

AppPalette &AppPalette::instance()
{
    static AppPalette palette;
    return palette;
}

AppPalette *AppPalette::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}
