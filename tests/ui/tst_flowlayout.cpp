#include "FlowLayout.h"

#include <QtTest>

#include <limits>

class TestFlowLayout : public QObject
{
    Q_OBJECT

private slots:
    void arrangesWithinAWidth_data()
    {
        QTest::addColumn<QList<QSizeF>>("sizes");
        QTest::addColumn<qreal>("spacing");
        QTest::addColumn<QList<QPointF>>("offsets");
        QTest::addColumn<qreal>("height");

        QTest::newRow("no children") << QList<QSizeF>{} << 8.0 << QList<QPointF>{} << 0.0;
        // The next line starts below the tallest chip plus the gap; chips on a line share its top.
        QTest::newRow("different heights")
            << QList<QSizeF>{{40, 20}, {40, 30}, {40, 10}} << 8.0
            << QList<QPointF>{{0, 0}, {48, 0}, {0, 38}} << 48.0;
        QTest::newRow("right edge exactly at the width stays")
            << QList<QSizeF>{{46, 10}, {46, 10}} << 8.0 << QList<QPointF>{{0, 0}, {54, 0}} << 10.0;
        QTest::newRow("one point over breaks")
            << QList<QSizeF>{{46, 10}, {47, 10}} << 8.0 << QList<QPointF>{{0, 0}, {0, 18}} << 28.0;
        QTest::newRow("an over-wide chip overflows on a line of its own")
            << QList<QSizeF>{{30, 10}, {150, 20}, {30, 10}} << 8.0
            << QList<QPointF>{{0, 0}, {0, 18}, {0, 46}} << 56.0;
        QTest::newRow("no spacing")
            << QList<QSizeF>{{50, 10}, {50, 10}, {1, 10}} << 0.0
            << QList<QPointF>{{0, 0}, {50, 0}, {0, 10}} << 20.0;
    }

    void arrangesWithinAWidth()
    {
        QFETCH(QList<QSizeF>, sizes);
        QFETCH(qreal, spacing);
        QFETCH(QList<QPointF>, offsets);
        QFETCH(qreal, height);

        const FlowLayout::Arrangement arrangement = FlowLayout::arrange(100.0, sizes, spacing);
        QCOMPARE(arrangement.offsets, offsets);
        // The whole offered width is claimed, however narrow the lines are.
        QCOMPARE(arrangement.size, QSizeF(100, height));
    }

    void withoutAWidthEverythingStaysOnOneLine()
    {
        const QList<QSizeF> sizes{{400, 20}, {300, 35}, {500, 10}};
        const FlowLayout::Arrangement arrangement = FlowLayout::arrange(std::nullopt, sizes, 8);
        QCOMPARE(arrangement.offsets, (QList<QPointF>{{0, 0}, {408, 0}, {716, 0}}));
        QCOMPARE(arrangement.size.width(), std::numeric_limits<qreal>::infinity());
        QCOMPARE(arrangement.size.height(), 35.0);
    }
};

QTEST_GUILESS_MAIN(TestFlowLayout)
#include "tst_flowlayout.moc"
