#include "FakeNotificationCenter.h"
#include "ReminderNotifications.h"
#include "ReminderOption.h"

#include <QtTest>

using Case = ReminderOption::Case;

static QDateTime utc(const char *text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate).toUTC();
}

static QDateTime wall(const char *zone, const char *text)
{
    const QDateTime read = QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate);
    return QDateTime(read.date(), read.time(), QTimeZone(zone));
}

static Idea ideaRemindedAt(const QDateTime &when)
{
    return Idea::make(QStringLiteral("اشتر خبز"), {}, QStringLiteral("مهمة"), true, when, false);
}

class TestReminderOption : public QObject
{
    Q_OBJECT

private slots:
    void dates()
    {
        const char *riyadh = "Asia/Riyadh";
        for (const auto &[zone, now, option, expected] : {
                 std::tuple{riyadh, "2024-05-14T10:30", Case::tomorrowMorning, "2024-05-15T06:00Z"},
                 {riyadh, "2024-12-31T23:59", Case::tomorrowEvening, "2025-01-01T16:00Z"},
                 {riyadh, "2024-05-14T10:30", Case::threeDays, "2024-05-17T07:00Z"},
                 {riyadh, "2024-02-26T08:00", Case::oneWeek, "2024-03-04T07:00Z"}, // over a leap day
                 // Half past midnight in Auckland is still the day before in UTC: the local date counts.
                 {"Pacific/Auckland", "2024-06-11T00:30", Case::tomorrowMorning, "2024-06-11T21:00Z"},
                 {"Europe/Berlin", "2011-03-26T23:59", Case::tomorrowMorning, "2011-03-27T07:00Z"}, // spring forward overnight
                 {"Europe/Berlin", "2011-10-29T12:00", Case::tomorrowEvening, "2011-10-30T18:00Z"}, // fall back on the day
                 {"America/Santiago", "2011-08-20T22:00", Case::tomorrowMorning, "2011-08-21T12:00Z"}, // midnight skipped
                 // Samoa skipped 30 December 2011 altogether: its morning is the end of the jump,
                 // and a week is seven calendar days over it.
                 {"Pacific/Apia", "2011-12-29T12:00", Case::tomorrowMorning, "2011-12-30T10:00Z"},
                 {"Pacific/Apia", "2011-12-29T12:00", Case::oneWeek, "2012-01-04T20:00Z"}}) {
            const QDateTime local = wall(zone, now);
            QCOMPARE(ReminderOption(option).date(local.toUTC(), local.timeZone()).toUTC(), utc(expected));
        }
    }

    // The minutes inside a gap or a repeat are covered where reminders fire.
    void wallTimesAroundTransitions()
    {
        for (const auto &[zone, time, expected] : {
                 std::tuple{"Europe/Berlin", "2011-03-27T01:59:59", "2011-03-27T00:59:59Z"}, // before a gap
                 {"Europe/Berlin", "2011-03-27T02:00", "2011-03-27T01:00Z"}, // start of a gap
                 {"Europe/Berlin", "2011-03-27T03:00", "2011-03-27T01:00Z"}, // end of a gap
                 {"Europe/Berlin", "2011-10-30T02:00", "2011-10-30T00:00Z"}, // start of a repeat
                 {"Europe/Berlin", "2011-10-30T03:00", "2011-10-30T02:00Z"}, // after a repeat
                 {"America/Santiago", "2011-08-21T00:00", "2011-08-21T04:00Z"}, // skipped midnight
                 {"America/Santiago", "2011-05-07T23:30", "2011-05-08T02:30Z"}, // repeated hour before midnight
                 {"America/Havana", "2011-03-20T00:30", "2011-03-20T05:00Z"}, // skipped hour after midnight
                 {"America/Havana", "2011-11-13T00:30", "2011-11-13T04:30Z"}, // repeated hour after midnight
                 {"Pacific/Apia", "2011-12-30T19:00", "2011-12-30T10:00Z"}, // skipped evening
                 {"UTC+03:00", "2024-05-14T09:00", "2024-05-14T06:00Z"}}) {
            const QDateTime wall = QDateTime::fromString(time, Qt::ISODate);
            QVERIFY(QTimeZone(zone).isValid());
            QCOMPARE(AppClock::firstInstantAt(wall.date(), wall.time(), QTimeZone(zone)).toUTC(), utc(expected));
        }
    }

    // The day is drawn first, from 2, 4 or 7 days on, then the hour, 9:00 to 20:00.
    void baadeinDrawsTheDayThenTheHour()
    {
        const QTimeZone riyadh("Asia/Riyadh");
        const QDateTime now = wall("Asia/Riyadh", "2024-05-14T10:30").toUTC();
        for (const int days : {2, 4, 7}) {
            for (int hour = 9; hour <= 20; ++hour) {
                // The words SecureRandom::uniform maps to the choices, from the middle of their ranges.
                const quint64 day = days == 2 ? 0 : days == 4 ? 1 : 2;
                QList<quint32> words{quint32((2 * day + 1) * (1ull << 32) / 6),
                                     quint32((2 * quint64(hour - 9) + 1) * (1ull << 32) / 24)};
                const QDateTime date = ReminderOption(Case::baadein).date(now, riyadh, [&] { return words.takeFirst(); });
                QVERIFY(words.isEmpty());
                QCOMPARE(date, QDateTime(QDate(2024, 5, 14).addDays(days), QTime(hour, 0), riyadh));
            }
        }
    }

    // Seconds dropped, in the local zone's date and hour; no reminder, no request.
    void theRequestIsForTheReminderMinuteInTheLocalZone()
    {
        FakeNotificationCenter center;
        Idea without = ideaRemindedAt({});
        without.reminderDate.reset();
        ReminderNotifications::scheduleNotification(without, center);
        QVERIFY(center.requests.isEmpty());
        for (const auto &[zone, reminder, trigger] :
             {std::tuple{"UTC", "2024-05-01T09:00:59Z", NotificationTrigger{2024, 5, 1, 9, 0}},
              {"Asia/Riyadh", "2024-12-31T22:45:00Z", NotificationTrigger{2025, 1, 1, 1, 45}},
              {"Europe/Berlin", "2024-07-01T17:00:00Z", NotificationTrigger{2024, 7, 1, 19, 0}}}) {
            const Idea idea = ideaRemindedAt(utc(reminder));
            // The word uniform(10, …) turns into 7.
            ReminderNotifications::scheduleNotification(idea, center, [] { return 0xB3333334u; }, QTimeZone(zone));
            QCOMPARE(center.requests.last(), (NotificationRequest{idea.id.toString(QUuid::WithoutBraces).toUpper(), "الفكرون 🗑️",
                                                                  "لو الفكرة تقدر تمشي كان جتك بنفسها 🚶", "default", trigger}));
        }
    }
};

QTEST_GUILESS_MAIN(TestReminderOption)
#include "tst_reminderoption.moc"
