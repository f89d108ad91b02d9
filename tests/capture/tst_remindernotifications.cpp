#include "FakeNotificationCenter.h"
#include "ReminderNotifications.h"

#include <QtTest>

namespace {

Idea ideaRemindedAt(const QDateTime &when)
{
    return Idea::make(QStringLiteral("اشتر خبز"), {}, QStringLiteral("مهمة"), true, when, false);
}

} // namespace

class TestReminderNotifications : public QObject
{
    Q_OBJECT

private slots:
    void theRequestIsForTheReminderMinuteInTheLocalZone_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDateTime>("reminder");
        QTest::addColumn<NotificationTrigger>("trigger");

        const auto utc = [](const char *text) { return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate); };
        QTest::newRow("seconds dropped") << QByteArray("UTC") << utc("2024-05-01T09:00:59Z")
                                         << NotificationTrigger{2024, 5, 1, 9, 0};
        QTest::newRow("into the next day") << QByteArray("Asia/Riyadh") << utc("2024-12-31T22:45:00Z")
                                           << NotificationTrigger{2025, 1, 1, 1, 45};
        QTest::newRow("summer time") << QByteArray("Europe/Berlin") << utc("2024-07-01T17:00:00Z")
                                     << NotificationTrigger{2024, 7, 1, 19, 0};
    }

    void theRequestIsForTheReminderMinuteInTheLocalZone()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QDateTime, reminder);
        QFETCH(NotificationTrigger, trigger);

        const Idea idea = ideaRemindedAt(reminder);
        FakeNotificationCenter center;
        // The word uniform(10, …) turns into 7.
        ReminderNotifications::scheduleNotification(idea, center, [] { return 0xB3333334u; }, QTimeZone(zone));

        QCOMPARE(center.requests, (QList<NotificationRequest>{{idea.id.toString(QUuid::WithoutBraces).toUpper(),
                                                               "الفكرون 🗑️", "لو الفكرة تقدر تمشي كان جتك بنفسها 🚶",
                                                               "default", trigger}}));
    }

    void cancellingUsesTheIdentifierItWasScheduledWith()
    {
        FakeNotificationCenter center;
        const Idea kept = ideaRemindedAt(QDateTime::currentDateTimeUtc().addDays(1));
        const Idea dropped = ideaRemindedAt(QDateTime::currentDateTimeUtc().addDays(2));
        Idea without = ideaRemindedAt({});
        without.reminderDate.reset();
        for (const Idea &idea : {kept, dropped, without})
            ReminderNotifications::scheduleNotification(idea, center);
        ReminderNotifications::cancelNotification(dropped.idText(), center);
        ReminderNotifications::cancelNotification(ideaRemindedAt({}).idText(), center);
        QCOMPARE(center.requests.size(), 1);
        QCOMPARE(center.requests.first().identifier, kept.idText());
    }

    // How evenly the system's words spread is SecureRandom's; here they must reach every line.
    void theSystemDrawReachesEveryLine()
    {
        const Idea idea = ideaRemindedAt(QDateTime::currentDateTimeUtc());
        FakeNotificationCenter center;
        QSet<QString> seen;
        // Missing one of ten in 400 fair draws: below 1 in 10^17.
        for (int i = 0; i < 400; ++i) {
            ReminderNotifications::scheduleNotification(idea, center);
            seen.insert(center.requests.first().body);
        }
        QCOMPARE(seen.size(), 10);
    }
};

QTEST_GUILESS_MAIN(TestReminderNotifications)
#include "tst_remindernotifications.moc"
