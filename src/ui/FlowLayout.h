#pragma once

#include <QList>
#include <QPointF>
#include <QQmlProperty>
#include <QQuickItem>
#include <QSizeF>
#include <QtQml/qqmlregistration.h>

#include <optional>

// Lays its children out in reading order at their implicit sizes and wraps onto a
// new line when the next one would overflow its width. `spacing` is both the gap
// between neighbours and the gap between lines. Under LayoutMirroring lines run
// from the right, the way Qt Quick's positioners do.
class FlowLayout : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qreal spacing READ spacing WRITE setSpacing NOTIFY spacingChanged)

public:
    struct Arrangement
    {
        QList<QPointF> offsets; // top-left of each child, in child order
        QSizeF size;
    };

    // Without a width everything stays on one line and the width is infinite. The
    // width reported is the offered one, not the widest line.
    static Arrangement arrange(std::optional<qreal> proposedWidth, const QList<QSizeF> &childSizes, qreal spacing);

    explicit FlowLayout(QQuickItem *parent = nullptr);

    qreal spacing() const { return m_spacing; }
    void setSpacing(qreal spacing);

signals:
    void spacingChanged();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void updatePolish() override;

private slots:
    void relayout() { polish(); }

private:
    qreal m_spacing = 0;
    // LayoutMirroring.enabled of this item: the effective mirroring, inherited or not.
    QQmlProperty m_mirroring;
};
