#include "SecureRandom.h"

#include <QtTest>

#include <deque>

class TestSecureRandom : public QObject
{
    Q_OBJECT

    // Replays fixed words and counts how many were taken.
    struct Script
    {
        std::deque<quint32> words;
        int taken = 0;
        SecureRandom::Source source()
        {
            return [this] {
                ++taken;
                const quint32 word = words.front();
                words.pop_front();
                return word;
            };
        }
    };

private slots:
    void mapsWordsByMultiplyingNotByModulo()
    {
        Script script{{0xFFFFFFFFu, 0x00000001u, 0x80000001u}};
        QCOMPARE(SecureRandom::uniform(10, script.source()), 9u);
        // 1 * 10 has a low word of 10, above the rejection threshold (6): kept, high word 0.
        QCOMPARE(SecureRandom::uniform(10, script.source()), 0u);
        QCOMPARE(SecureRandom::uniform(10, script.source()), 5u);
        QCOMPARE(script.taken, 3);
    }

    void rejectsTheWordsThatWouldBiasTheResult()
    {
        // For a bound of 3, 2^32 mod 3 = 1 word too many: the one whose product has low word 0.
        Script script{{0u, 0x80000000u}};
        QCOMPARE(SecureRandom::uniform(3, script.source()), 1u);
        QCOMPARE(script.taken, 2);

        // For 10 the threshold is 6: products with a low word of 0 to 5 are redrawn.
        Script ten{{0u, 0x9999999Au, 0xA0000000u}};
        QCOMPARE(SecureRandom::uniform(10, ten.source()), 6u);
        QCOMPARE(ten.taken, 3);
    }

    void aBoundOfOneNeverRedraws()
    {
        Script script{{0u}};
        QCOMPARE(SecureRandom::uniform(1, script.source()), 0u);
        QCOMPARE(script.taken, 1);
    }

    void systemDrawsCoverTheRangeEvenly()
    {
        constexpr int draws = 100'000;
        std::array<int, 10> counts{};
        for (int i = 0; i < draws; ++i) {
            const quint32 value = SecureRandom::uniform(10);
            QVERIFY(value < 10);
            ++counts[value];
        }
        // About 95 draws of spread each way; 600 is more than six of them.
        for (const int count : counts)
            QVERIFY2(qAbs(count - draws / 10) < 600, qPrintable(QString::number(count)));
    }
};

QTEST_GUILESS_MAIN(TestSecureRandom)
#include "tst_securerandom.moc"
