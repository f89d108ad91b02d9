#include "AppSettings.h"
#include "ContentState.h"
#include "FakeNotificationCenter.h"
#include "OnboardingModel.h"
#include "TestFolders.h"

#include <QtTest>

class TestFirstRun : public QObject
{
    Q_OBJECT

    TestFolders folders;

private slots:
    void whatsNewDecision_data()
    {
        QTest::addColumn<bool>("onboarded");
        QTest::addColumn<QString>("lastSeen");
        QTest::addColumn<QString>("current");
        QTest::addColumn<bool>("due");
        QTest::newRow("after an update") << true << "1.0" << "1.1" << true;
        QTest::newRow("same version") << true << "1.1" << "1.1" << false;
        QTest::newRow("a downgrade is new too") << true << "1.2" << "1.1" << true;
        QTest::newRow("text, not numbers") << true << "1.10" << "1.1" << true;
        QTest::newRow("1.0 vs 1.0.0 differ") << true << "1.0.0" << "1.0" << true;
        QTest::newRow("settings from before the key") << true << "" << "1.1" << false;
        QTest::newRow("onboarding unfinished") << false << "1.0" << "1.1" << false;
    }

    void whatsNewDecision()
    {
        QFETCH(bool, onboarded);
        QFETCH(QString, lastSeen);
        QFETCH(QString, current);
        QTEST(ContentState::isWhatsNewDue(onboarded, lastSeen, current), "due");
    }

    // Turning reminders down still reaches the last page.
    void onboardingEndsWhateverTheAnswer()
    {
        AppSettings &settings = AppSettings::instance();
        settings.setHasCompletedOnboarding(false);
        FakeNotificationCenter notifications;
        notifications.grants = false;
        OnboardingModel model(&settings, &notifications);
        model.setNameInput("سارة");
        model.start();
        model.continueToNotifications();
        model.enableNotifications();
        QCOMPARE(model.step(), 3);
        QVERIFY(!model.notificationsGranted());
        QCOMPARE(settings.userName(), "سارة");
    }
};

QTEST_GUILESS_MAIN(TestFirstRun)
#include "tst_firstrun.moc"
