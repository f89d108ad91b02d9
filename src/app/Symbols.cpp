#include "Symbols.h"

#include <QFont>
#include <QHash>
#include <QPainter>
#include <QPixmap>

namespace {

const QHash<QString, char16_t> &glyphs()
{
    static const QHash<QString, char16_t> table = {
        {"plus.bubble.fill", 0xe069},           // add_comment
        {"xmark.circle.fill", 0xe5c9},          // cancel
        {"mic.fill", 0xe029},                   // mic
        {"bell.fill", 0xe7f4},                  // notifications
        {"checkmark.circle", 0xe92d},           // check_circle_outline
        {"checkmark.circle.fill", 0xe86c},      // check_circle
        {"trash", 0xe92e},                      // delete_outline
        {"arrow.uturn.backward", 0xe166},       // undo
        {"chevron.down", 0xe5cf},               // expand_more
        {"chevron.left", 0xe5cb},               // chevron_left
        {"icloud.fill", 0xe2bd},                // cloud
        {"icloud.slash", 0xe2c1},               // cloud_off
        {"plus.circle.fill", 0xe147},           // add_circle
        {"rectangle.expand.vertical", 0xe5d7},  // unfold_more
        {"hand.draw", 0xe155},                  // gesture
        {"paperplane.fill", 0xe163},            // send
        {"arrow.triangle.2.circlepath", 0xe627},// sync
        {"iphone", 0xe325},                     // phone_iphone
        {"eye.slash", 0xe8f5},                  // visibility_off
        {"server.rack", 0xe875},                // dns
        {"hand.raised", 0xe925},                // pan_tool
        {"arrow.up.forward", 0xe89e},           // open_in_new
        {"number", 0xe9ef},                     // tag
        {"globe", 0xe894},                      // language
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
    return found == glyphs().constEnd() ? QString() : QString(QChar(*found));
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
