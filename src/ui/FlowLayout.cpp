#include "FlowLayout.h"

#include <QQmlContext>

#include <algorithm>
#include <limits>

FlowLayout::Arrangement FlowLayout::arrange(std::optional<qreal> proposedWidth, const QList<QSizeF> &childSizes,
                                            qreal spacing)
{
    const qreal maxWidth = proposedWidth.value_or(std::numeric_limits<qreal>::infinity());
    Arrangement result;
    qreal x = 0;
    qreal y = 0;
    qreal lineHeight = 0;
    for (const QSizeF &size : childSizes) {
        // A chip alone on its line stays there even when it is too wide: it overflows.
        if (x > 0 && x + size.width() > maxWidth) {
            y += lineHeight + spacing;
            x = 0;
            lineHeight = 0;
        }
        result.offsets.append(QPointF(x, y));
        lineHeight = std::max(lineHeight, size.height());
        x += size.width() + spacing;
    }
    result.size = QSizeF(maxWidth, y + lineHeight);
    return result;
}

FlowLayout::FlowLayout(QQuickItem *parent) : QQuickItem(parent) {}

void FlowLayout::setSpacing(qreal spacing)
{
    if (spacing == m_spacing)
        return;
    m_spacing = spacing;
    polish();
    emit spacingChanged();
}

void FlowLayout::componentComplete()
{
    QQuickItem::componentComplete();
    // The effective mirroring is only public through the attached property, which
    // needs the QtQuick import of the file that made this item.
    m_mirroring = QQmlProperty(this, QStringLiteral("LayoutMirroring.enabled"), qmlContext(this));
    if (m_mirroring.isValid())
        m_mirroring.connectNotifySignal(this, SLOT(relayout()));
}

void FlowLayout::itemChange(ItemChange change, const ItemChangeData &data)
{
    if (change == ItemChildAddedChange) {
        QQuickItem *child = data.item;
        connect(child, &QQuickItem::implicitWidthChanged, this, &FlowLayout::relayout);
        connect(child, &QQuickItem::implicitHeightChanged, this, &FlowLayout::relayout);
        connect(child, &QQuickItem::visibleChanged, this, &FlowLayout::relayout);
        polish();
    } else if (change == ItemChildRemovedChange) {
        disconnect(data.item, nullptr, this, nullptr);
        polish();
    }
    QQuickItem::itemChange(change, data);
}

void FlowLayout::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    if (newGeometry.width() != oldGeometry.width())
        polish();
    QQuickItem::geometryChange(newGeometry, oldGeometry);
}

void FlowLayout::updatePolish()
{
    QList<QQuickItem *> shown;
    QList<QSizeF> sizes;
    for (QQuickItem *child : childItems()) {
        const QSizeF size(child->implicitWidth(), child->implicitHeight());
        // As in Qt's positioners, hidden and empty children (a Repeater) take no place.
        if (!child->isVisible() || size.isEmpty())
            continue;
        shown.append(child);
        sizes.append(size);
    }

    // Unless told otherwise, the layout is as wide as all its children on one line.
    const QList<QPointF> oneLine = arrange(std::nullopt, sizes, m_spacing).offsets;
    setImplicitWidth(oneLine.isEmpty() ? 0 : oneLine.last().x() + sizes.last().width());
    const Arrangement arrangement = arrange(width(), sizes, m_spacing);
    setImplicitHeight(arrangement.size.height());

    const bool mirrored = m_mirroring.isValid() && m_mirroring.read().toBool();
    for (qsizetype i = 0; i < shown.size(); ++i) {
        const QPointF offset = arrangement.offsets.at(i);
        const qreal x = mirrored ? width() - offset.x() - sizes.at(i).width() : offset.x();
        shown.at(i)->setSize(sizes.at(i));
        shown.at(i)->setPosition(QPointF(x, offset.y()));
    }
}
