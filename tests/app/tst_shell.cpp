#include "AppSettings.h"
#include "FakeCloudProbes.h"
#include "FikranestApp.h"
#include "MenuBarExtra.h"
#include "Symbols.h"
#include "TestFolders.h"

#include <QApplication>
#include <QFontDatabase>
#include <QQuickItem>
#include <QRawFont>
#include <QTextLayout>
#include <QtTest>

class TestShell : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<FikranestApp> app;
    FakeCloudProbes *probes = nullptr;

    void startApp(bool background, bool onboarded)
    {
        AppSettings::instance().setHasCompletedOnboarding(onboarded);
        auto fake = std::make_unique<FakeCloudProbes>(folders.path());
        probes = fake.get();
        app = std::make_unique<FikranestApp>(std::move(fake));
        QVERIFY(app->start(background));
    }

    static QQuickItem *findItem(QQuickItem *item, const QString &name)
    {
        if (item->objectName() == name)
            return item;
        for (QQuickItem *child : item->childItems()) {
            if (QQuickItem *found = findItem(child, name))
                return found;
        }
        return nullptr;
    }

    static QQuickItem *contentView(QQuickWindow *window) { return findItem(window->contentItem(), "contentView"); }

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

    void theLookIsLightAndRightToLeft()
    {
        const QPalette palette = QGuiApplication::palette();
        QVERIFY(palette.color(QPalette::Window).lightness() > 200);
        QVERIFY(palette.color(QPalette::WindowText).lightness() < 80);
        QVERIFY(palette.color(QPalette::Base).lightness() > 200);
        QCOMPARE(QGuiApplication::layoutDirection(), Qt::RightToLeft);
        QCOMPARE(QGuiApplication::font().families(),
                 QStringList({"Noto Sans Arabic", "Noto Sans", "Noto Color Emoji"}));
    }
    void cleanup() { app.reset(); }

    void thereIsOnlyEverOneMainWindow()
    {
        startApp(false, true);
        QQuickWindow *window = app->mainWindow();
        QVERIFY(window);
        QVERIFY(window->isVisible());
        QCOMPARE(window->title(), "الفكرون");
        QCOMPARE(window->objectName(), "main");
        QTRY_VERIFY(contentView(window));
        QQuickItem *firstContent = contentView(window);

        app->openWindow("main");
        QCOMPARE(app->mainWindow(), window);
        QCOMPARE(contentView(window), firstContent);

        // Closing only hides; reopening shows the same window with fresh content.
        window->close();
        QVERIFY(!window->isVisible());
        QTRY_VERIFY(!contentView(window));
        app->openWindow("main");
        QCOMPARE(app->mainWindow(), window);
        QVERIFY(window->isVisible());
        QTRY_VERIFY(contentView(window));

        app->openWindow("settings");
        QCOMPARE(app->mainWindow(), window);
    }

    void aFirstRunOpensTheWindowFromTheTray()
    {
        startApp(true, false);
        QVERIFY(!app->mainWindow());
        QTRY_VERIFY_WITH_TIMEOUT(app->mainWindow() && app->mainWindow()->isVisible(), 3000);
    }

    void aLaterBackgroundRunStaysInTheTray()
    {
        startApp(true, true);
        QTest::qWait(1000);
        QVERIFY(!app->mainWindow());
    }

    void handedOverArgumentsRaiseTheWindowUnlessInBackground()
    {
        startApp(true, true);
        app->handleArguments({"--background"});
        QVERIFY(!app->mainWindow());
        app->handleArguments({});
        QVERIFY(app->mainWindow() && app->mainWindow()->isVisible());
    }

    void anAccountChangeRechecksTheSyncState()
    {
        startApp(true, true);
        probes->entitlement = QStringList{"CloudKit"};
        probes->token = QByteArray("someone");
        emit probes->identityChanged();
        QVERIFY(app->syncStatus()->isCloudKit());
        // The store opened at start stays the local one.
        QVERIFY(app->store()->path().endsWith("local.sqlite"));
    }

    void thePanelIsAFramelessToolOfFixedWidth()
    {
        startApp(true, true);
        QQuickWindow *panel = app->menuBarExtra()->panel();
        QVERIFY(panel);
        QVERIFY(!panel->isVisible());
        QCOMPARE(panel->width(), MenuBarExtra::panelWidth);
        QVERIFY(panel->flags().testFlag(Qt::FramelessWindowHint));
        app->menuBarExtra()->togglePanel();
        QVERIFY(panel->isVisible());
        QCOMPARE(panel->width(), 280);
        app->menuBarExtra()->togglePanel();
        QVERIFY(!panel->isVisible());
    }

    void panelPlacement_data()
    {
        QTest::addColumn<QRect>("icon");
        QTest::addColumn<QPoint>("cursor");
        QTest::addColumn<QPoint>("expected");
        const QRect screen(0, 0, 1280, 800);
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
        QFETCH(QPoint, expected);
        QCOMPARE(MenuBarExtra::panelPosition(icon, QSize(280, 400), QRect(0, 0, 1280, 800), cursor), expected);
    }

    void everySymbolHasAGlyphInTheInstalledFont()
    {
        const QStringList used = {
            "plus.bubble.fill", "xmark.circle.fill", "mic.fill", "bell.fill", "checkmark.circle",
            "checkmark.circle.fill", "trash", "arrow.uturn.backward", "chevron.down", "chevron.left",
            "icloud.fill", "icloud.slash", "plus.circle.fill", "rectangle.expand.vertical", "hand.draw",
            "paperplane.fill", "arrow.triangle.2.circlepath", "iphone", "eye.slash", "server.rack",
            "hand.raised", "arrow.up.forward", "number", "globe"};
        QStringList mapped = Symbols::names();
        mapped.sort();
        QStringList expected = used;
        expected.sort();
        QCOMPARE(mapped, expected);

        QVERIFY(QFontDatabase::families().contains(Symbols::fontFamily()));
        const QRawFont font = QRawFont::fromFont(QFont(Symbols::fontFamily()));
        QCOMPARE(font.familyName(), Symbols::fontFamily());
        QSet<QString> glyphs;
        for (const QString &name : used) {
            const QString glyph = Symbols::glyph(name);
            QCOMPARE(glyph.size(), 1);
            QVERIFY2(font.supportsCharacter(glyph.at(0)), qPrintable(name));
            // The code point must be the icon we meant: the one its name shapes to.
            QTextLayout layout(Symbols::materialName(name), QFont(Symbols::fontFamily()));
            layout.beginLayout();
            layout.createLine();
            layout.endLayout();
            const QList<QGlyphRun> runs = layout.glyphRuns();
            QCOMPARE(runs.size(), 1);
            QCOMPARE(runs.first().glyphIndexes(), font.glyphIndexesForString(glyph));
            glyphs.insert(glyph);
        }
        QCOMPARE(glyphs.size(), used.size());
        QCOMPARE(Symbols::glyph("no.such.symbol"), "");
    }
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
