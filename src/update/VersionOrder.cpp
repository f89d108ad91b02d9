#include "VersionOrder.h"

#include <QList>
#include <QStringView>

namespace {

// Ranked so that, at the same position, a number beats a separator and a separator
// beats letters: letters there mark a pre-release of what the other version is.
enum class Kind { Letters = 0, Separator = 1, Number = 2 };

struct Part
{
    Kind kind;
    QStringView text;
};

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

Kind kindOf(QChar c)
{
    if (isAsciiDigit(c))
        return Kind::Number;
    return c.isLetter() ? Kind::Letters : Kind::Separator;
}

QList<Part> split(QStringView version)
{
    QList<Part> parts;
    qsizetype start = 0;
    for (qsizetype i = 1; i <= version.size(); ++i) {
        if (i == version.size() || kindOf(version[i]) != kindOf(version[start])) {
            parts.append({kindOf(version[start]), version.sliced(start, i - start)});
            start = i;
        }
    }
    return parts;
}

int sign(qsizetype value)
{
    return (value > 0) - (value < 0);
}

// Digit runs of any length: without leading zeros, the longer is larger and equal
// lengths order like their text, so nothing is ever converted to an integer.
int compareNumbers(QStringView a, QStringView b)
{
    while (a.size() > 1 && a.front() == u'0')
        a = a.sliced(1);
    while (b.size() > 1 && b.front() == u'0')
        b = b.sliced(1);
    if (a.size() != b.size())
        return sign(a.size() - b.size());
    return sign(a.compare(b));
}

int compareParts(const Part &a, const Part &b)
{
    if (a.kind != b.kind)
        return a.kind > b.kind ? 1 : -1;
    switch (a.kind) {
    case Kind::Number:
        return compareNumbers(a.text, b.text);
    case Kind::Letters:
        return sign(a.text.compare(b.text));
    case Kind::Separator:
        return 0;
    }
    return 0;
}

// What the parts past the end of the shorter version say about the longer one:
// letters next mean a pre-release (older), a number means a later release (newer).
int compareTail(const QList<Part> &longer, qsizetype from)
{
    for (qsizetype i = from; i < longer.size(); ++i) {
        if (longer[i].kind == Kind::Letters)
            return -1;
        if (longer[i].kind == Kind::Number)
            return 1;
    }
    return 0;
}

} // namespace

int VersionOrder::compare(const QString &a, const QString &b)
{
    const QList<Part> partsA = split(a);
    const QList<Part> partsB = split(b);
    const qsizetype shared = qMin(partsA.size(), partsB.size());
    for (qsizetype i = 0; i < shared; ++i) {
        if (const int order = compareParts(partsA[i], partsB[i]))
            return order;
    }
    if (partsA.size() > shared)
        return compareTail(partsA, shared);
    if (partsB.size() > shared)
        return -compareTail(partsB, shared);
    return 0;
}
