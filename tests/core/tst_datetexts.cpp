#include "DateTexts.h"

#include <QtTest>

#include <thread>

class TestDateTexts : public QObject
{
    Q_OBJECT

private slots:
    void wordsDatesAsIcuDoes()
    {
        const auto relative = [](const char *locale, const char *zone, const QDateTime &date, const QDateTime &now) {
            return DateTexts::relative(date, now, QLocale(locale), QTimeZone(zone));
        };
        // Riyadh keeps no DST; there it is Thursday 14 November 2024, 15:30.
        const QDateTime now(QDate(2024, 11, 14), QTime(12, 30), Qt::UTC);
        for (const auto &[date, en, ar] : {std::tuple{now.addMSecs(-900), "now", "الآن"},
                                           {now.addSecs(-5 * 60), "5 minutes ago", "قبل ٥ دقائق"},
                                           {now.addSecs(-23 * 3600), "23 hours ago", "قبل ٢٣ ساعة"},
                                           // A day and twelve hours back: the day is the largest step taken.
                                           {now.addSecs(-36 * 3600), "yesterday", "أمس"},
                                           {now.addDays(-9), "last week", "الأسبوع الماضي"},
                                           {now.addMonths(-3).addDays(-20), "3 months ago", "قبل ٣ أشهر"},
                                           {now.addYears(-2).addMonths(-11), "2 years ago", "قبل سنتين"},
                                           {now.addDays(2).addSecs(3600), "in 2 days", "بعد الغد"}}) {
            QCOMPARE(relative("en_US", "Asia/Riyadh", date, now), en);
            QCOMPARE(relative("ar_SA", "Asia/Riyadh", date, now), ar);
        }

        // Berlin's clocks went forward on 31 March 2024: from noon to noon is a day of 23 hours.
        const QDateTime before(QDate(2024, 3, 30), QTime(11, 0), Qt::UTC), after(QDate(2024, 3, 31), QTime(10, 0), Qt::UTC);
        QCOMPARE(relative("en_US", "Europe/Berlin", before, after), "yesterday");
        QCOMPARE(relative("en_US", "UTC", before, after), "23 hours ago");
        QCOMPARE(relative("C", "UTC", before, after), "23 hours ago");

        const QTimeZone riyadh("Asia/Riyadh");
        QCOMPARE(DateTexts::reminder(now, QLocale("ar_SA"), riyadh), "١٤ نوفمبر في ٣:٣٠ م");
        QCOMPARE(DateTexts::creation(now, QLocale("ar_SA"), riyadh), "١٤ نوفمبر ٢٠٢٤ في ٣:٣٠ م");
        QCOMPARE(DateTexts::reminder(now, QLocale("en_US"), QTimeZone("Europe/Berlin")), "November 14 at 1:30\u202fPM");
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
