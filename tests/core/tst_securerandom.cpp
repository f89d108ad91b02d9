#include "SecureRandom.h"

#include <QtTest>

class TestSecureRandom : public QObject
{
    Q_OBJECT

private slots:
    // Multiply-and-reject: the high word of word × bound, redrawing the words whose low
    // word falls below 2^32 mod bound. Every scripted word must be taken.
    void mapsWordsByMultiplyingAndRedrawsBiasedOnes_data()
    {
        QTest::addColumn<quint32>("bound");
        QTest::addColumn<QList<quint32>>("words");
        QTest::addColumn<quint32>("expected");
        QTest::newRow("top word") << 10u << QList<quint32>{0xFFFFFFFFu} << 9u;
        // 1 × 10 has a low word of 10, at or above the threshold of 6: kept.
        QTest::newRow("low word just kept") << 10u << QList<quint32>{1u} << 0u;
        QTest::newRow("not by modulo") << 10u << QList<quint32>{0x80000001u} << 5u;
        QTest::newRow("bound 3 redraws low word 0") << 3u << QList<quint32>{0u, 0x80000000u} << 1u;
        QTest::newRow("bound 10 redraws low words 0 to 5") << 10u << QList<quint32>{0u, 0x9999999Au, 0xA0000000u} << 6u;
        QTest::newRow("bound 1 never redraws") << 1u << QList<quint32>{0u} << 0u;
    }

    void mapsWordsByMultiplyingAndRedrawsBiasedOnes()
    {
        QFETCH(quint32, bound);
        QFETCH(QList<quint32>, words);
        QTEST(SecureRandom::uniform(bound, [&] { return words.takeFirst(); }), "expected");
        QVERIFY(words.isEmpty());
    }

};

QTEST_GUILESS_MAIN(TestSecureRandom)
#include "tst_securerandom.moc"
