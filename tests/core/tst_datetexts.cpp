#include "DateTexts.h"

#include <QtTest>

#include <thread>

class TestDateTexts : public QObject
{
    Q_OBJECT

    using Text = QString (*)(const QDateTime &, const QDateTime &, const QLocale &, const QTimeZone &);

private slots:
    void wordsDatesAsIcuDoes_data()
    {
        QTest::addColumn<Text>("text");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("expected");

        const Text relative = &DateTexts::relative;
        const Text reminder = [](const QDateTime &date, const QDateTime &, const QLocale &locale,
                                 const QTimeZone &zone) { return DateTexts::reminder(date, locale, zone); };
        const Text creation = [](const QDateTime &date, const QDateTime &, const QLocale &locale,
                                 const QTimeZone &zone) { return DateTexts::creation(date, locale, zone); };

        // Riyadh keeps no DST; there it is Thursday 14 November 2024, 15:30.
        const QDateTime now(QDate(2024, 11, 14), QTime(12, 30), Qt::UTC);
        const QByteArray riyadh("Asia/Riyadh");
        const auto both = [&](const char *name, const QDateTime &date, const char *en, const char *ar) {
            QTest::addRow("%s en", name) << relative << "en_US" << riyadh << date << now << en;
            QTest::addRow("%s ar", name) << relative << "ar_SA" << riyadh << date << now << ar;
        };
        both("now", now.addMSecs(-900), "now", "الآن");
        both("minutes", now.addSecs(-5 * 60), "5 minutes ago", "قبل ٥ دقائق");
        both("23 hours", now.addSecs(-23 * 3600), "23 hours ago", "قبل ٢٣ ساعة");
        // A day and twelve hours back: the day is the largest step taken.
        both("36 hours", now.addSecs(-36 * 3600), "yesterday", "أمس");
        both("9 days", now.addDays(-9), "last week", "الأسبوع الماضي");
        both("3 months", now.addMonths(-3).addDays(-20), "3 months ago", "قبل ٣ أشهر");
        both("2 years", now.addYears(-2).addMonths(-11), "2 years ago", "قبل سنتين");
        both("future", now.addDays(2).addSecs(3600), "in 2 days", "بعد الغد");

        // Berlin's clocks went forward on 31 March 2024: from noon to noon is a day of 23 hours.
        const QDateTime before(QDate(2024, 3, 30), QTime(11, 0), Qt::UTC);
        const QDateTime after(QDate(2024, 3, 31), QTime(10, 0), Qt::UTC);
        QTest::newRow("dst day") << relative << "en_US" << QByteArray("Europe/Berlin") << before << after
                                 << "yesterday";
        QTest::newRow("dst utc") << relative << "en_US" << QByteArray("UTC") << before << after << "23 hours ago";
        QTest::newRow("C is English") << relative << "C" << QByteArray("UTC") << before << after << "23 hours ago";

        QTest::newRow("reminder ar") << reminder << "ar_SA" << riyadh << now << now << "١٤ نوفمبر في ٣:٣٠ م";
        QTest::newRow("creation ar") << creation << "ar_SA" << riyadh << now << now << "١٤ نوفمبر ٢٠٢٤ في ٣:٣٠ م";
        QTest::newRow("reminder en") << reminder << "en_US" << QByteArray("Europe/Berlin") << now << now
                                     << "November 14 at 1:30\u202fPM";
    }

    void wordsDatesAsIcuDoes()
    {
        QFETCH(Text, text);
        QFETCH(QString, locale);
        QFETCH(QByteArray, zone);
        QFETCH(QDateTime, date);
        QFETCH(QDateTime, now);
        QFETCH(QString, expected);
        QCOMPARE(text(date, now, QLocale(locale), QTimeZone(zone)), expected);
    }

    // Each text's formatter is built on its first use, after the zone was already set.
    void aFormatterBuiltLaterKeepsTheZoneAlreadySet()
    {
        QString reminder;
        // A thread of its own starts with no formatters.
        std::thread([&] {
            const QDateTime now(QDate(2024, 11, 14), QTime(12, 30), Qt::UTC);
            const QTimeZone berlin("Europe/Berlin");
            DateTexts::relative(now.addDays(-1), now, QLocale("en_US"), berlin);
            reminder = DateTexts::reminder(now, QLocale("en_US"), berlin);
        }).join();
        QCOMPARE(reminder, "November 14 at 1:30\u202fPM");
    }

    void whatWasMadeSinceTheMinuteStepReadsNow()
    {
        const DateTexts texts;
        const QDateTime now = texts.now();
        QCOMPARE(texts.relativeText(now.addSecs(5), now), texts.relativeText(now, now));
        QVERIFY(texts.relativeText(now.addSecs(3600), now) != texts.relativeText(now, now));
    }
};

QTEST_GUILESS_MAIN(TestDateTexts)
#include "tst_datetexts.moc"
