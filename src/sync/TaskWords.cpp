#include "TaskWords.h"

namespace TaskWords {

QStringList categories()
{
    return {QStringLiteral("فكرة"), QStringLiteral("مهمة"), QStringLiteral("ملاحظة")};
}

QString defaultCategory()
{
    return QStringLiteral("فكرة");
}

QString doneStatus()
{
    return QStringLiteral("done");
}

QString activeStatus()
{
    return QStringLiteral("active");
}

QString storable(const QString &text)
{
    QString s = QString::fromUtf8(text.toUtf8());
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(u'\r', u'\n');
    s.removeIf([](QChar c) { return (c.unicode() < 0x20 && c != u'\n' && c != u'\t') || c.unicode() == 0x7f; });
    const auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    qsizetype begin = 0;
    qsizetype end = s.size();
    while (begin < end && blank(s.at(begin)))
        ++begin;
    while (end > begin && blank(s.at(end - 1)))
        --end;
    return s.mid(begin, end - begin);
}

} // namespace TaskWords
