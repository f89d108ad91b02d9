#include "AppSettings.h"
#include "FakeCloudProbes.h"
#include "FikranestApp.h"
#include "MenuBarExtra.h"
#include "SingleInstance.h"
#include "Symbols.h"
#include "TestFolders.h"

#include <QApplication>
#include <QQuickItem>
#include <QRawFont>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextLayout>
#include <QtTest>

#include <future>

#include <sys/stat.h>

class TestShell : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<FikranestApp> app;
    FakeCloudProbes *probes = nullptr;

    // Onboarded, so no first-run window turns up on its own.
    void startApp(bool background)
    {
        AppSettings::instance().setHasCompletedOnboarding(true);
        auto fake = std::make_unique<FakeCloudProbes>(folders.path());
        probes = fake.get();
        app = std::make_unique<FikranestApp>(std::move(fake));
        QVERIFY(app->start(background));
    }

    static QQuickItem *contentView(QQuickWindow *window)
    {
        return window->findChild<QQuickItem *>("contentView");
    }

    // Claims from another thread, as a second process would, while this thread's event
    // loop lets the running instance answer.
    static SingleInstance::Role claimElsewhere(const QString &folder, const QStringList &arguments)
    {
        auto role = std::async(std::launch::async, [&] { return SingleInstance(folder).claim(arguments); });
        while (role.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
            QCoreApplication::processEvents();
        return role.get();
    }

private slots:
    void initTestCase()
    {
        // A dark desktop theme must not reach the program.
        QPalette dark;
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::WindowText, Qt::white);
        QGuiApplication::setPalette(dark);
        FikranestApp::prepare(*qApp);
    }

    void cleanup() { app.reset(); }

    void theLookStaysLightUnderADarkTheme()
    {
        QVERIFY(QGuiApplication::palette().color(QPalette::Window).lightness() > 200);
        QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
    }

    void thereIsOnlyEverOneMainWindow()
    {
        startApp(false);
        QQuickWindow *window = app->mainWindow();
        QVERIFY(window && window->isVisible());
        QTRY_VERIFY(contentView(window));
        QQuickItem *firstContent = contentView(window);
        app->openWindow("main");
        QCOMPARE(contentView(window), firstContent);

        // Closing only hides; reopening shows the same window with fresh content.
        window->close();
        QVERIFY(!window->isVisible());
        QTRY_VERIFY(!contentView(window));
        app->openWindow("main");
        QCOMPARE(app->mainWindow(), window);
        QVERIFY(window->isVisible());
        QTRY_VERIFY(contentView(window));
    }

    void inTheBackgroundTheTrayAccountAndLaterLaunchesAreServed()
    {
        startApp(true);
        // The tray's panel is a frameless tool it toggles.
        QQuickWindow *panel = app->menuBarExtra()->panel();
        QVERIFY(panel->flags().testFlag(Qt::FramelessWindowHint) && !panel->isVisible());
        app->menuBarExtra()->togglePanel();
        QVERIFY(panel->isVisible());
        app->menuBarExtra()->togglePanel();
        QVERIFY(!panel->isVisible());

        probes->entitlement = QStringList{"CloudKit"};
        probes->token = QByteArray("someone");
        emit probes->identityChanged();
        QVERIFY(app->syncStatus()->isCloudKit());

        // A later launch that asks for the background too leaves the window alone.
        QVERIFY(app->handle(CommandLine::parse({"fikranest", "--background"})));
        QVERIFY(!app->mainWindow());
    }

    void panelPlacement_data()
    {
        QTest::addColumn<QRect>("icon");
        QTest::addColumn<QPoint>("cursor");
        QTest::addColumn<QPoint>("expected");
        QTest::newRow("under an icon at the top") << QRect(1000, 0, 32, 32) << QPoint() << QPoint(875, 32);
        QTest::newRow("over an icon at the bottom") << QRect(600, 768, 32, 32) << QPoint() << QPoint(475, 368);
        QTest::newRow("kept inside the right edge") << QRect(1248, 0, 32, 32) << QPoint() << QPoint(1000, 32);
        QTest::newRow("kept inside the left edge") << QRect(0, 0, 32, 32) << QPoint() << QPoint(0, 32);
        QTest::newRow("no icon geometry: at the cursor") << QRect() << QPoint(640, 100) << QPoint(500, 100);
        QTest::newRow("at the cursor, inside the screen") << QRect() << QPoint(1270, 790) << QPoint(1000, 400);
    }

    void panelPlacement()
    {
        QFETCH(QRect, icon);
        QFETCH(QPoint, cursor);
        QTEST(MenuBarExtra::panelPosition(icon, QSize(280, 400), QRect(0, 0, 1280, 800), cursor), "expected");
    }

    // Each symbol must be the icon we meant: the glyph its Material name shapes to.
    void everySymbolIsTheGlyphOfItsIconName()
    {
        const QFont symbols(Symbols::fontFamily());
        const QRawFont font = QRawFont::fromFont(symbols);
        QCOMPARE(font.familyName(), Symbols::fontFamily());
        for (const QString &name : Symbols::names()) {
            const QString glyph = Symbols::glyph(name);
            QVERIFY2(glyph.size() == 1 && font.supportsCharacter(glyph.at(0)), qPrintable(name));
            QTextLayout layout(Symbols::materialName(name), symbols);
            layout.beginLayout();
            layout.createLine();
            layout.endLayout();
            QCOMPARE(layout.glyphRuns().size(), 1);
            QCOMPARE(layout.glyphRuns().first().glyphIndexes(), font.glyphIndexesForString(glyph));
        }
        QCOMPARE(Symbols::glyph("no.such.symbol"), "");
    }

    void aLaterLaunchHearsWhenTheRunningOneCouldNotCarryItOut()
    {
        QTemporaryDir folder;
        SingleInstance first(folder.path());
        QCOMPARE(first.claim({}), SingleInstance::Role::primary);
        // No one else may so much as connect.
        struct stat socket = {};
        QCOMPARE(::stat(QFile::encodeName(folder.filePath("fikranest.socket")).constData(), &socket), 0);
        QCOMPARE(socket.st_mode & 0077, 0u);
        first.setHandler([](const QStringList &arguments) { return arguments != QStringList{"--add", "x"}; });
        QCOMPARE(claimElsewhere(folder.path(), {"--add", "x"}), SingleInstance::Role::refused);
    }

    void aLaunchThatOnlyStoresMakesTheNextOneWaitForItsTurn()
    {
        QTemporaryDir folder;
        auto adding = std::make_unique<SingleInstance>(folder.path());
        QCOMPARE(adding->claim({"--add", "x"}, false), SingleInstance::Role::primary);
        QTimer::singleShot(300, [&] { adding.reset(); });
        QCOMPARE(claimElsewhere(folder.path(), {}), SingleInstance::Role::primary);
    }
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
