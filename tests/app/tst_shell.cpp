#include "AppSettings.h"
#include "FikranestApp.h"
#include "MenuBarExtra.h"
#include "SingleInstance.h"
#include "Symbols.h"
#include "TestFolders.h"

#include <QApplication>
#include <QLocalSocket>
#include <QRawFont>
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

    // Claims from another thread, as a second process would, while this thread's event
    // loop lets the running instance answer.
    static SingleInstance::Role claimElsewhere(const QString &folder, const QStringList &arguments)
    {
        auto role = std::async(std::launch::async, [&] { return SingleInstance(folder, folder).claim(arguments); });
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

    // Onboarded and in the background; a later launch asking for the background too,
    // as the login entry does, leaves the window alone.
    void aLaterBackgroundLaunchLeavesTheWindowAlone()
    {
        AppSettings::instance().setHasCompletedOnboarding(true);
        app = std::make_unique<FikranestApp>(std::make_unique<LocalCloudProbes>(folders.path() + "/shell.sqlite"));
        QVERIFY(app->start(true));
        bool done = false;
        app->handle(CommandLine::parse({"fikranest", "--background"}), [&done](bool ok, const QString &) { done = ok; });
        QVERIFY(done);
        QVERIFY(!app->mainWindow());
    }

    void panelPlacement()
    {
        const QSize panel(280, 400);
        const QRect screen(0, 0, 1280, 800);
        for (const auto &[icon, cursor, expected] : {std::tuple{QRect(1000, 0, 32, 32), QPoint(), QPoint(875, 32)}, // under a top icon
                                                     {QRect(600, 768, 32, 32), QPoint(), QPoint(475, 368)}, // over a bottom icon
                                                     {QRect(1248, 0, 32, 32), QPoint(), QPoint(1000, 32)}, // inside the right edge
                                                     {QRect(0, 0, 32, 32), QPoint(), QPoint(0, 32)}, // inside the left edge
                                                     // No icon geometry: at the cursor, inside the screen.
                                                     {QRect(), QPoint(640, 100), QPoint(500, 100)},
                                                     {QRect(), QPoint(1270, 790), QPoint(1000, 400)}})
            QCOMPARE(MenuBarExtra::panelPosition(icon, panel, screen, cursor), expected);
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

    // Peers that send too much, or too little, are dropped without holding up a real launch.
    void theRunningOneHearsOnlyWholeMessagesOfSaneSize()
    {
        QTemporaryDir folder;
        SingleInstance first(folder.path(), folder.path());
        QCOMPARE(first.claim({}), SingleInstance::Role::primary);
        QFile note(folder.filePath("fikranest.instance"));
        QVERIFY(note.open(QIODevice::ReadOnly));
        const QByteArray socketPath = note.readAll();
        // No one else may so much as connect.
        struct stat socket = {};
        QCOMPARE(::stat(socketPath.constData(), &socket), 0);
        QCOMPARE(socket.st_mode & 0077, 0u);
        QStringList heard;
        first.setHandler([&heard](const QStringList &arguments, const SingleInstance::Reply &reply) {
            heard << arguments;
            reply(arguments != QStringList{"--add", "x"}, {});
        });
        const auto connected = [&socketPath](const QByteArray &sent) {
            auto peer = std::make_unique<QLocalSocket>();
            peer->connectToServer(QFile::decodeName(socketPath));
            if (peer->waitForConnected(1000))
                peer->write(sent);
            peer->flush();
            return peer;
        };
        const auto hungUp = [](QLocalSocket &peer) {
            QTRY_COMPARE_WITH_TIMEOUT(peer.state(), QLocalSocket::UnconnectedState, 7000);
        };
        // A length of 2 GiB is refused at once, and nine that never finish leave no room
        // taken from the launch after them.
        auto huge = connected(QByteArray("\x7f\xff\xff\xff", 4) + QByteArray(1000, 'x'));
        std::vector<std::unique_ptr<QLocalSocket>> trickling;
        for (int i = 0; i < 9; ++i)
            trickling.push_back(connected(QByteArray("\0\0\0\x10", 4)));
        hungUp(*huge);
        hungUp(*trickling.front());
        QCOMPARE(claimElsewhere(folder.path(), {"--add", "x"}), SingleInstance::Role::refused);
        QCOMPARE(claimElsewhere(folder.path(), {"--add", "y"}), SingleInstance::Role::handedOver);
        QCOMPARE(heard, QStringList({"--add", "x", "--add", "y"}));
        // The rest are let go after a while, not kept forever.
        hungUp(*trickling.back());
    }

    void aLaunchThatOnlyStoresMakesTheNextOneWaitForItsTurn()
    {
        QTemporaryDir folder;
        auto adding = std::make_unique<SingleInstance>(folder.path(), folder.path());
        QCOMPARE(adding->claim({"--add", "x"}, false), SingleInstance::Role::primary);
        QTimer::singleShot(300, [&] { adding.reset(); });
        QCOMPARE(claimElsewhere(folder.path(), {}), SingleInstance::Role::primary);
    }
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
