#include "ReminderOption.h"

#include <QSet>
#include <QtTest>

#include <deque>

using Case = ReminderOption::Case;
Q_DECLARE_METATYPE(ReminderOption::Case)

namespace {

QDateTime utc(const char *text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate).toUTC();
}

QDateTime wall(const QByteArray &zone, const char *text)
{
    const QDateTime read = QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate);
    return QDateTime(read.date(), read.time(), QTimeZone(zone));
}

// The word that SecureRandom::uniform maps to `value`, from the middle of its
// range so that it is never rejected.
quint32 wordFor(quint32 value, quint32 bound)
{
    return quint32((((quint64(value) << 1) + 1) << 32) / (quint64(bound) << 1));
}

} // namespace

class TestReminderOption : public QObject
{
    Q_OBJECT

private slots:
    void labelsAreTheIdentity()
    {
        const QList<ReminderOption> all = ReminderOption::allCases();
        QCOMPARE(all.size(), 5);
        QSet<QString> labels;
        for (qsizetype i = 0; i < all.size(); ++i) {
            QCOMPARE(all[i].kind(), Case(i));
            QCOMPARE(ReminderOption::fromRawValue(all[i].rawValue()), all[i]);
            labels.insert(all[i].rawValue());
        }
        QCOMPARE(labels.size(), 5);
        QCOMPARE(QSet<ReminderOption>(all.begin(), all.end()).size(), 5);
        QVERIFY(ReminderOption(Case::baadein) != ReminderOption(Case::oneWeek));

        QCOMPARE(ReminderOption::fromRawValue(QStringLiteral("بعدين")), std::nullopt);
        QCOMPARE(ReminderOption::fromRawValue(QString()), std::nullopt);
    }

    void dates_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<Case>("option");
        QTest::addColumn<QDateTime>("expected");

        const QByteArray riyadh = "Asia/Riyadh";
        QTest::newRow("tomorrow morning") << wall(riyadh, "2024-05-14T10:30") << Case::tomorrowMorning
                                          << utc("2024-05-15T06:00Z");
        QTest::newRow("evening from 23:59 is the next day's")
            << wall(riyadh, "2024-12-31T23:59") << Case::tomorrowEvening << utc("2025-01-01T16:00Z");
        QTest::newRow("three days") << wall(riyadh, "2024-05-14T10:30") << Case::threeDays
                                    << utc("2024-05-17T07:00Z");
        QTest::newRow("one week over a leap day")
            << wall(riyadh, "2024-02-26T08:00") << Case::oneWeek << utc("2024-03-04T07:00Z");
        // Half past midnight in Auckland is still the day before in UTC.
        QTest::newRow("the local date counts, not UTC's")
            << wall("Pacific/Auckland", "2024-06-11T00:30") << Case::tomorrowMorning << utc("2024-06-11T21:00Z");
        QTest::newRow("spring forward overnight")
            << wall("Europe/Berlin", "2011-03-26T23:59") << Case::tomorrowMorning << utc("2011-03-27T07:00Z");
        QTest::newRow("fall back on the day")
            << wall("Europe/Berlin", "2011-10-29T12:00") << Case::tomorrowEvening << utc("2011-10-30T18:00Z");
        QTest::newRow("midnight skipped on the day")
            << wall("America/Santiago", "2011-08-20T22:00") << Case::tomorrowMorning << utc("2011-08-21T12:00Z");
        // Samoa skipped 30 December 2011 altogether: its morning is the end of the jump.
        QTest::newRow("a skipped day")
            << wall("Pacific/Apia", "2011-12-29T12:00") << Case::tomorrowMorning << utc("2011-12-30T10:00Z");
        QTest::newRow("calendar days over a skipped day")
            << wall("Pacific/Apia", "2011-12-29T12:00") << Case::oneWeek << utc("2012-01-04T20:00Z");
    }

    void dates()
    {
        QFETCH(QDateTime, now);
        QFETCH(Case, option);
        QFETCH(QDateTime, expected);

        const QDateTime date = ReminderOption(option).date(now.toUTC(), now.timeZone());
        QVERIFY(date.isValid());
        QCOMPARE(date.toUTC(), expected);
    }

    void anInvalidZoneFallsBackToUtc()
    {
        const QDateTime date = ReminderOption(Case::threeDays).date(utc("2024-05-14T23:00Z"), QTimeZone());
        QVERIFY(date.isValid());
        QCOMPARE(date.toUTC(), utc("2024-05-17T10:00Z"));
    }

    void wallTimesAroundTransitions_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QTime>("time");
        QTest::addColumn<QDateTime>("expected");

        const QByteArray berlin = "Europe/Berlin";
        QTest::newRow("before a gap") << berlin << QDate(2011, 3, 27) << QTime(1, 59, 59) << utc("2011-03-27T00:59:59Z");
        QTest::newRow("start of a gap") << berlin << QDate(2011, 3, 27) << QTime(2, 0) << utc("2011-03-27T01:00Z");
        QTest::newRow("inside a gap") << berlin << QDate(2011, 3, 27) << QTime(2, 30) << utc("2011-03-27T01:00Z");
        QTest::newRow("end of a gap") << berlin << QDate(2011, 3, 27) << QTime(3, 0) << utc("2011-03-27T01:00Z");
        QTest::newRow("start of a repeat") << berlin << QDate(2011, 10, 30) << QTime(2, 0) << utc("2011-10-30T00:00Z");
        QTest::newRow("inside a repeat") << berlin << QDate(2011, 10, 30) << QTime(2, 30) << utc("2011-10-30T00:30Z");
        QTest::newRow("after a repeat") << berlin << QDate(2011, 10, 30) << QTime(3, 0) << utc("2011-10-30T02:00Z");
        QTest::newRow("skipped midnight") << QByteArray("America/Santiago") << QDate(2011, 8, 21) << QTime(0, 0)
                                          << utc("2011-08-21T04:00Z");
        QTest::newRow("repeated hour before midnight")
            << QByteArray("America/Santiago") << QDate(2011, 5, 7) << QTime(23, 30) << utc("2011-05-08T02:30Z");
        QTest::newRow("skipped hour after midnight")
            << QByteArray("America/Havana") << QDate(2011, 3, 20) << QTime(0, 30) << utc("2011-03-20T05:00Z");
        QTest::newRow("repeated hour after midnight")
            << QByteArray("America/Havana") << QDate(2011, 11, 13) << QTime(0, 30) << utc("2011-11-13T04:30Z");
        QTest::newRow("skipped evening") << QByteArray("Pacific/Apia") << QDate(2011, 12, 30) << QTime(19, 0)
                                         << utc("2011-12-30T10:00Z");
        QTest::newRow("fixed offset") << QByteArray("UTC+03:00") << QDate(2024, 5, 14) << QTime(9, 0)
                                      << utc("2024-05-14T06:00Z");
        QTest::newRow("UTC") << QByteArray("UTC") << QDate(2024, 5, 14) << QTime(9, 0) << utc("2024-05-14T09:00Z");
    }

    void wallTimesAroundTransitions()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QDate, day);
        QFETCH(QTime, time);
        QFETCH(QDateTime, expected);

        const QTimeZone timeZone(zone);
        QVERIFY(timeZone.isValid());
        const QDateTime instant = AppClock::firstInstantAt(day, time, timeZone);
        QVERIFY(instant.isValid());
        QCOMPARE(instant.toUTC(), expected);
    }

    void baadeinDrawsTheDayThenTheHour()
    {
        const QTimeZone riyadh("Asia/Riyadh");
        const QDateTime now = wall("Asia/Riyadh", "2024-05-14T10:30").toUTC();
        const std::array<int, 3> dayOffsets{2, 4, 7};
        for (quint32 day = 0; day < 3; ++day) {
            for (quint32 hour = 0; hour < 12; ++hour) {
                std::deque<quint32> words{wordFor(day, 3), wordFor(hour, 12)};
                const SecureRandom::Source script = [&words] {
                    const quint32 word = words.front();
                    words.pop_front();
                    return word;
                };
                const QDateTime date = ReminderOption(Case::baadein).date(now, riyadh, script);
                QVERIFY(words.empty());
                const QDateTime expected(QDate(2024, 5, 14).addDays(dayOffsets[day]), QTime(9 + int(hour), 0), riyadh);
                QCOMPARE(date.toUTC(), expected.toUTC());
            }
        }
    }

    void baadeinStaysInItsRangeAndReachesAllOfIt()
    {
        const QTimeZone riyadh("Asia/Riyadh");
        const QDateTime now = wall("Asia/Riyadh", "2024-05-14T10:30").toUTC();
        QSet<QPair<qint64, int>> seen;
        // 36 outcomes: missing one in 3000 fair draws is below 1 in 10^35.
        for (int i = 0; i < 3000; ++i) {
            const QDateTime local = ReminderOption(Case::baadein).date(now, riyadh).toTimeZone(riyadh);
            const qint64 days = QDate(2024, 5, 14).daysTo(local.date());
            QVERIFY2(days == 2 || days == 4 || days == 7, qPrintable(local.toString(Qt::ISODate)));
            QVERIFY2(local.time().hour() >= 9 && local.time().hour() <= 20, qPrintable(local.toString(Qt::ISODate)));
            QCOMPARE(local.time().minute(), 0);
            QCOMPARE(local.time().second(), 0);
            seen.insert({days, local.time().hour()});
        }
        QCOMPARE(seen.size(), 36);
    }
};

QTEST_GUILESS_MAIN(TestReminderOption)
#include "tst_reminderoption.moc"
