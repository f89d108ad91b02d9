#include "AppSettings.h"
#include "AppVersion.h"
#include "ContentState.h"
#include "FakeNotificationCenter.h"
#include "OnboardingModel.h"
#include "TestFolders.h"

#include <QCoreApplication>
#include <QtTest>

class TestFirstRun : public QObject
{
    Q_OBJECT

    TestFolders folders;

    static void resetSettings(bool onboarded, const QString &lastSeen)
    {
        AppSettings &settings = AppSettings::instance();
        settings.setHasCompletedOnboarding(onboarded);
        settings.setLastSeenVersion(lastSeen);
    }

private slots:
    void init() { QCoreApplication::setApplicationVersion("1.1"); }

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
        QTest::newRow("first run") << false << "" << "1.1" << false;
    }

    void whatsNewDecision()
    {
        QFETCH(bool, onboarded);
        QFETCH(QString, lastSeen);
        QFETCH(QString, current);
        QFETCH(bool, due);
        QCOMPARE(ContentState::isWhatsNewDue(onboarded, lastSeen, current), due);
    }

    // The version recorded on appearing is the screen's own fallback when the program has none.
    void aMissingVersionFallsBackPerScreen()
    {
        QCoreApplication::setApplicationVersion("");
        QVERIFY(!AppVersion::shortVersionString());
        QCOMPARE(AppVersion::current("1.1"), "1.1");
        resetSettings(true, "0.9");
        ContentState state;
        state.appear();
        QVERIFY(state.showWhatsNew());
        QCOMPARE(AppSettings::instance().lastSeenVersion(), "1.0");
    }

    void onboardingStoresTheTrimmedNameAndReachesTheEndWhateverTheAnswer_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<bool>("granted");
        QTest::newRow("spaces and tabs go, allowed") << " \tأحمد\u00A0\t " << "أحمد" << true;
        QTest::newRow("a pasted line break stays, refused") << " سارة\n" << "سارة\n" << false;
    }

    void onboardingStoresTheTrimmedNameAndReachesTheEndWhateverTheAnswer()
    {
        QFETCH(QString, typed);
        QFETCH(QString, stored);
        QFETCH(bool, granted);
        AppSettings &settings = AppSettings::instance();
        resetSettings(false, "1.1");
        settings.setUserName("");
        FakeNotificationCenter notifications;
        notifications.grants = granted;
        OnboardingModel model(&settings, &notifications);

        model.setNameInput(typed);
        QVERIFY(model.canStart());
        model.start();
        QCOMPARE(settings.userName(), stored);
        model.continueToNotifications();
        QCOMPARE(model.step(), 2);
        model.enableNotifications();
        QCOMPARE(model.step(), 3);
        QCOMPARE(model.notificationsGranted(), granted);
        QCOMPARE(model.readyTitle(), "جاهز يا " + stored + "!");
    }
};

QTEST_GUILESS_MAIN(TestFirstRun)
#include "tst_firstrun.moc"
