#include "Vocabulary.h"

#include "QmlSingleton.h"

QStringList Vocabulary::categories()
{
    return {QStringLiteral("فكرة"), QStringLiteral("مهمة"), QStringLiteral("ملاحظة")};
}

QString Vocabulary::defaultCategory()
{
    return QStringLiteral("فكرة");
}

QStringList Vocabulary::filterLabels()
{
    return QStringList{allFilter()} + categories() + QStringList{reminderFilter()};
}

QString Vocabulary::allFilter()
{
    return QStringLiteral("الكل");
}

QString Vocabulary::reminderFilter()
{
    return QStringLiteral("لها موعد");
}

QString Vocabulary::active()
{
    return QStringLiteral("active");
}

QString Vocabulary::done()
{
    return QStringLiteral("done");
}

QString Vocabulary::emoji(const QString &category)
{
    if (category == QStringLiteral("مهمة"))
        return QStringLiteral("✅");
    if (category == QStringLiteral("ملاحظة"))
        return QStringLiteral("📝");
    return QStringLiteral("💡");
}

QString Vocabulary::toggledStatus(const QString &status)
{
    return status == done() ? active() : done();
}

Vocabulary &Vocabulary::instance()
{
    static Vocabulary vocabulary;
    return vocabulary;
}

Vocabulary *Vocabulary::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}
