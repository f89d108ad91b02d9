#include "SecureRandom.h"

#include <QtTest>

class TestSecureRandom : public QObject
{
    Q_OBJECT

private slots:
    // Multiply-and-reject: the high word of word × bound, redrawing the words whose low
    // word falls below 2^32 mod bound. Every scripted word must be taken.
    void mapsWordsByMultiplyingAndRedrawsBiasedOnes()
    {
        for (auto [bound, words, expected] : {std::tuple{10u, QList<quint32>{0xFFFFFFFFu}, 9u}, // top word
                                              // 1 × 10 has a low word of 10, at or above the threshold of 6: kept.
                                              {10u, QList<quint32>{1u}, 0u},
                                              {10u, QList<quint32>{0x80000001u}, 5u}, // not by modulo
                                              {3u, QList<quint32>{0u, 0x80000000u}, 1u}, // low word 0 redrawn
                                              {10u, QList<quint32>{0u, 0x9999999Au, 0xA0000000u}, 6u}, // low words 0 to 5 redrawn
                                              {1u, QList<quint32>{0u}, 0u}}) { // bound 1 never redraws
            QCOMPARE(SecureRandom::uniform(bound, [&] { return words.takeFirst(); }), expected);
            QVERIFY(words.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(TestSecureRandom)
#include "tst_securerandom.moc"
