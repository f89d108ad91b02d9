#include "Symbols.h"

#include "QmlSingleton.h"

#include <QFont>
#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace {

struct Glyph
{
    QString material; // the icon's name in the font, which also shapes to it as a ligature
    char16_t codepoint;
};

const QHash<QString, Glyph> &glyphs()
{
    static const QHash<QString, Glyph> table = {
        {"plus.bubble.fill", {"add_comment", 0xe266}},
        {"xmark.circle.fill", {"cancel", 0xe5c9}},
        {"mic.fill", {"mic", 0xe029}},
        {"bell.fill", {"notifications", 0xe7f4}},
        {"checkmark.circle", {"check_circle_outline", 0xe92d}},
        {"checkmark.circle.fill", {"check_circle", 0xe86c}},
        {"trash", {"delete_outline", 0xe92e}},
        {"arrow.uturn.backward", {"undo", 0xe166}},
        {"chevron.down", {"expand_more", 0xe5cf}},
        {"chevron.left", {"chevron_left", 0xe5cb}},
        {"chevron.right", {"chevron_right", 0xe5cc}},
        {"gearshape", {"settings", 0xe8b8}},
        {"tray", {"inbox", 0xe156}},
        {"pencil", {"edit", 0xe3c9}},
        {"icloud.fill", {"cloud", 0xe2bd}},
        {"icloud.slash", {"cloud_off", 0xe2c1}},
        {"plus.circle.fill", {"add_circle", 0xe147}},
        {"rectangle.expand.vertical", {"unfold_more", 0xe5d7}},
        {"hand.draw", {"swipe", 0xe9ec}},
        {"paperplane.fill", {"send", 0xe163}},
        {"arrow.triangle.2.circlepath", {"sync", 0xe627}},
        {"iphone", {"phone_iphone", 0xe325}},
        {"eye.slash", {"visibility_off", 0xe8f5}},
        {"server.rack", {"dns", 0xe875}},
        {"hand.raised", {"back_hand", 0xe764}},
        {"arrow.up.forward", {"north_east", 0xf1e1}},
        {"number", {"tag", 0xe9ef}},
        {"globe", {"language", 0xe894}},
    };
    return table;
}

} // namespace

QStringList Symbols::names()
{
    return glyphs().keys();
}

QString Symbols::glyph(const QString &name)
{
    const auto found = glyphs().constFind(name);
    return found == glyphs().constEnd() ? QString() : QString(QChar(found->codepoint));
}

bool Symbols::followsReading(const QString &name)
{
    return name.endsWith(QStringLiteral(".forward")) || name.endsWith(QStringLiteral(".backward"));
}

QString Symbols::materialName(const QString &name)
{
    return glyphs().value(name).material;
}

QIcon Symbols::icon(const QString &name, const QColor &color)
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        QFont font(fontFamily());
        font.setPixelSize(size);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(pixmap.rect(), Qt::AlignCenter, glyph(name));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

Symbols &Symbols::instance()
{
    static Symbols symbols;
    return symbols;
}

Symbols *Symbols::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}
