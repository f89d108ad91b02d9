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
    void whatsNewDecision()
    {
        for (const auto &[onboarded, lastSeen, current, due] : {std::tuple{true, "1.0", "1.1", true}, // after an update
                                                                {true, "1.1", "1.1", false},
                                                                {true, "1.2", "1.1", true}, // a downgrade is new too
                                                                {true, "1.10", "1.1", true}, // text, not numbers
                                                                {true, "1.0.0", "1.0", true},
                                                                {true, "", "1.1", false}, // settings from before the key
                                                                {false, "1.0", "1.1", false}}) // onboarding unfinished
            QCOMPARE(ContentState::isWhatsNewDue(onboarded, lastSeen, current), due);
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
