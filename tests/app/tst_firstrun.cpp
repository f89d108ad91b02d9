#include "AppSettings.h"
#include "AppVersion.h"
#include "ContentState.h"
#include "TestFolders.h"

#include <QCoreApplication>
#include <QSettings>
#include <QSignalSpy>
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

    void settingsAreLiveAndPersisted()
    {
        AppSettings &settings = AppSettings::instance();
        resetSettings(false, "");
        settings.setUserName("");
        QSignalSpy onboarded(&settings, &AppSettings::hasCompletedOnboardingChanged);
        QSignalSpy name(&settings, &AppSettings::userNameChanged);
        settings.setHasCompletedOnboarding(true);
        settings.setHasCompletedOnboarding(true);
        settings.setUserName("نورة");
        QCOMPARE(onboarded.size(), 1);
        QCOMPARE(name.size(), 1);

        // Written through to the file under the documented keys at once.
        const QSettings file(folders.path() + "/config/Fikranest/Fikranest.conf", QSettings::IniFormat);
        QCOMPARE(file.value("hasCompletedOnboarding").toBool(), true);
        QCOMPARE(file.value("userName").toString(), "نورة");
    }
};

QTEST_GUILESS_MAIN(TestFirstRun)
#include "tst_firstrun.moc"
