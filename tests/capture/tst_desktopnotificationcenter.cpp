#include "DesktopNotificationCenter.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QProcess>
#include <QSaveFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");

QDateTime utc(const char *text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate);
}

NotificationRequest request(const QString &identifier, const NotificationTrigger &trigger,
                            const QString &body = QStringLiteral("هذي الفكرة ما نامت من يومها وهي تنتظرك 🥺"))
{
    return {identifier, QStringLiteral("الفكرون 🗑️"), body, QStringLiteral("default"), trigger};
}

QStringList identifiers(const QList<NotificationRequest> &requests)
{
    QStringList all;
    for (const NotificationRequest &each : requests)
        all.append(each.identifier);
    all.sort();
    return all;
}

} // namespace

// Stands in for the desktop's notification server: records what it is asked to show.
class FakeNotifications : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Call
    {
        QString appName;
        uint replacesId;
        QString appIcon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expireTimeout;
        QDateTime receivedAt; // by the clock the center was given
        uint id;
    };

    std::function<QDateTime()> clock;
    QList<Call> calls;
    bool refusing = false;
    int refused = 0;

public slots:
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout)
    {
        if (refusing) {
            ++refused;
            sendErrorReply(QDBusError::Failed, QStringLiteral("too busy"));
            return 0;
        }
        const uint id = 40 + uint(calls.size());
        calls.append({appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout, clock(), id});
        return id;
    }
    QStringList GetCapabilities() { return {QStringLiteral("actions"), QStringLiteral("body")}; }
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion)
    {
        vendor = QStringLiteral("tests");
        version = QStringLiteral("1.0");
        specVersion = QStringLiteral("1.2");
        return QStringLiteral("fake");
    }
    void CloseNotification(uint id) { emit NotificationClosed(id, 3); }

signals:
    void ActionInvoked(uint id, const QString &actionKey);
    void NotificationClosed(uint id, uint reason);
};

class TestDesktopNotificationCenter : public QObject
{
    Q_OBJECT

    QTemporaryDir m_busFolder;
    QProcess m_busDaemon;
    QString m_busAddress;
    int m_connections = 0;

    // Per test: a folder for the file, the center's and the server's own connections.
    std::unique_ptr<QTemporaryDir> m_folder;
    QDateTime m_now;
    QTimeZone m_zone{"Europe/Berlin"};
    std::unique_ptr<QDBusConnection> m_centerBus;
    std::unique_ptr<QDBusConnection> m_serverBus;
    std::unique_ptr<FakeNotifications> m_server;

    QString path() const { return m_folder->filePath(QStringLiteral("reminders.json")); }

    std::unique_ptr<DesktopNotificationCenter> makeCenter(DesktopNotificationCenter::Clock clock = {})
    {
        if (!clock)
            clock = [this] { return m_now; };
        return std::make_unique<DesktopNotificationCenter>(path(), *m_centerBus, clock, m_zone);
    }

    QDBusConnection connect()
    {
        return QDBusConnection::connectToBus(m_busAddress, QStringLiteral("c%1").arg(++m_connections));
    }

    bool startServer()
    {
        return m_serverBus->registerObject(objectPath, m_server.get(),
                                           QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals)
            && m_serverBus->registerService(service);
    }

    // Returns once everything the center has sent so far has reached the server and
    // the replies to it have been handed to the center: messages on one connection
    // keep their order, and so do the queued reply deliveries.
    void roundTrip()
    {
        const QDBusMessage ping = QDBusMessage::createMethodCall(service, objectPath, service,
                                                                 QStringLiteral("GetCapabilities"));
        QDBusPendingCallWatcher answer(m_centerBus->asyncCall(ping));
        QSignalSpy answered(&answer, &QDBusPendingCallWatcher::finished);
        QTRY_COMPARE(answered.size(), 1);
    }

private slots:
    void initTestCase()
    {
        const QString config = m_busFolder.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        QVERIFY(file.open(QIODevice::WriteOnly));
        // No <servicedir>: nothing installed on this machine is ever started on it.
        file.write(QStringLiteral("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                                  " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                                  "<busconfig>\n"
                                  "  <type>session</type>\n"
                                  "  <listen>unix:dir=%1</listen>\n"
                                  "  <policy context=\"default\">\n"
                                  "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
                                  "    <allow eavesdrop=\"true\"/>\n"
                                  "    <allow own=\"*\"/>\n"
                                  "  </policy>\n"
                                  "</busconfig>\n")
                       .arg(m_busFolder.path())
                       .toUtf8());
        file.close();
        m_busDaemon.start(QStringLiteral("dbus-daemon"),
                          {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                           QStringLiteral("--print-address")});
        QVERIFY2(m_busDaemon.waitForStarted(), "dbus-daemon is needed for these tests");
        while (!m_busDaemon.canReadLine())
            QVERIFY(m_busDaemon.waitForReadyRead(10'000));
        m_busAddress = QString::fromUtf8(m_busDaemon.readLine().trimmed());
        // Anything reaching for the session bus finds this one, never the user's.
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_busAddress.toUtf8());
    }

    void cleanupTestCase()
    {
        m_busDaemon.kill();
        m_busDaemon.waitForFinished();
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_now = utc("2024-06-01T08:00:00Z");
        m_centerBus = std::make_unique<QDBusConnection>(connect());
        m_serverBus = std::make_unique<QDBusConnection>(connect());
        QVERIFY(m_centerBus->isConnected() && m_serverBus->isConnected());
        m_server = std::make_unique<FakeNotifications>();
        m_server->clock = [this] { return m_now; };
    }

    void cleanup()
    {
        QDBusConnection::disconnectFromBus(m_centerBus->name());
        QDBusConnection::disconnectFromBus(m_serverBus->name());
        m_centerBus.reset();
        m_serverBus.reset();
        m_server.reset();
        m_folder.reset();
    }

    void theNotificationCarriesTheRequest()
    {
        QVERIFY(startServer());
        auto center = makeCenter();
        center->add({QStringLiteral("A"), QStringLiteral("الفكرون 🗑️"), QStringLiteral("موعدك مع فكرتك حان.. لا تطنشها 😤"),
                     QStringLiteral("default"), {2024, 6, 1, 10, 0}});
        center->add({QStringLiteral("B"), QStringLiteral("t"), QStringLiteral("b"), QStringLiteral("bell"),
                     {2024, 6, 1, 9, 0}});
        QTRY_COMPARE(m_server->calls.size(), 2);

        const FakeNotifications::Call shown = m_server->calls.at(0);
        QCOMPARE(shown.appName, QStringLiteral("الفكرون"));
        QCOMPARE(shown.replacesId, 0u);
        QCOMPARE(shown.appIcon, QStringLiteral("fikranest"));
        QCOMPARE(shown.summary, QStringLiteral("الفكرون 🗑️"));
        QCOMPARE(shown.body, QStringLiteral("موعدك مع فكرتك حان.. لا تطنشها 😤"));
        QCOMPARE(shown.actions, (QStringList{QStringLiteral("default"), QStringLiteral("افتح")}));
        QCOMPARE(shown.hints, (QVariantMap{{QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
                                           {QStringLiteral("desktop-entry"), QStringLiteral("fikranest")}}));
        QCOMPARE(shown.expireTimeout, -1);
        QCOMPARE(m_server->calls.at(1).hints.value(QStringLiteral("sound-name")), QVariant(QStringLiteral("bell")));

        QTRY_VERIFY(center->pendingRequests().isEmpty());
        center.reset();
        // Shown means gone from the file too.
        auto restarted = makeCenter();
        QVERIFY(restarted->pendingRequests().isEmpty());
        roundTrip();
        QCOMPARE(m_server->calls.size(), 2);
    }

    void firesAtTheFirstInstantTheMinuteIsReached_data()
    {
        QTest::addColumn<NotificationTrigger>("trigger");
        QTest::addColumn<QDateTime>("instant");

        QTest::newRow("ordinary minute") << NotificationTrigger{2024, 6, 1, 10, 15} << utc("2024-06-01T08:15:00Z");
        // Clocks go from 02:00 straight to 03:00.
        QTest::newRow("skipped minute") << NotificationTrigger{2024, 3, 31, 2, 30} << utc("2024-03-31T01:00:00Z");
        // 02:00 to 03:00 comes twice: first in summer time, then in winter time.
        QTest::newRow("repeated minute") << NotificationTrigger{2024, 10, 27, 2, 30} << utc("2024-10-27T00:30:00Z");
        QTest::newRow("new year") << NotificationTrigger{2025, 1, 1, 0, 0} << utc("2024-12-31T23:00:00Z");
    }

    void firesAtTheFirstInstantTheMinuteIsReached()
    {
        QFETCH(NotificationTrigger, trigger);
        QFETCH(QDateTime, instant);
        QVERIFY(startServer());

        m_now = instant.addMSecs(-1);
        auto center = makeCenter();
        center->add(request(QStringLiteral("A"), trigger));
        center->reschedule();
        roundTrip();
        QCOMPARE(m_server->calls.size(), 0);

        m_now = instant;
        center->reschedule();
        center->reschedule();
        QTRY_COMPARE(m_server->calls.size(), 1);
        QTRY_VERIFY(center->pendingRequests().isEmpty());

        m_now = instant.addSecs(3 * 3600);
        center->reschedule();
        roundTrip();
        QCOMPARE(m_server->calls.size(), 1);
    }

    void theTimerWakesForTheMinuteByItself()
    {
        QVERIFY(startServer());
        const QDateTime due = utc("2024-06-01T08:01:00Z");
        QElapsedTimer elapsed;
        elapsed.start();
        // A clock that runs, starting just over a second before the minute.
        const auto running = [start = due.addMSecs(-1'200), elapsed] { return start.addMSecs(elapsed.elapsed()); };
        m_server->clock = running;
        auto center = makeCenter(running);
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 10, 1}));

        QTRY_COMPARE_WITH_TIMEOUT(m_server->calls.size(), 1, 15'000);
        QVERIFY(m_server->calls.first().receivedAt >= due);
        QTRY_VERIFY(center->pendingRequests().isEmpty());
        roundTrip();
        QCOMPARE(m_server->calls.size(), 1);
    }

    void aMinuteMissedWhileClosedIsShownOnceAtTheNextStart()
    {
        QVERIFY(startServer());
        {
            auto center = makeCenter();
            center->add(request(QStringLiteral("A"), {2024, 6, 1, 11, 0}));
            center->add(request(QStringLiteral("B"), {2024, 6, 9, 11, 0}));
            roundTrip();
        }
        QCOMPARE(m_server->calls.size(), 0);

        m_now = utc("2024-06-03T12:00:00Z");
        {
            auto center = makeCenter();
            QTRY_COMPARE(m_server->calls.size(), 1);
            QTRY_COMPARE(identifiers(center->pendingRequests()), QStringList{QStringLiteral("B")});
        }
        auto center = makeCenter();
        QCOMPARE(identifiers(center->pendingRequests()), QStringList{QStringLiteral("B")});
        roundTrip();
        QCOMPARE(m_server->calls.size(), 1);
    }

    void wallClockJumpsNeitherSkipNorRepeat()
    {
        QVERIFY(startServer());
        auto center = makeCenter();
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 12, 0}));
        center->add(request(QStringLiteral("B"), {2024, 6, 1, 14, 0}));

        // Set back a year before anything was due, then forward past A only.
        m_now = utc("2023-06-01T08:00:00Z");
        center->reschedule();
        m_now = utc("2024-06-01T11:00:00Z");
        center->reschedule();
        QTRY_COMPARE(m_server->calls.size(), 1);
        QCOMPARE(m_server->calls.first().summary, QStringLiteral("الفكرون 🗑️"));
        QTRY_COMPARE(identifiers(center->pendingRequests()), QStringList{QStringLiteral("B")});

        // Back before A, then past both.
        m_now = utc("2024-06-01T09:00:00Z");
        center->reschedule();
        roundTrip();
        m_now = utc("2024-06-02T08:00:00Z");
        center->reschedule();
        QTRY_VERIFY(center->pendingRequests().isEmpty());
        roundTrip();
        QCOMPARE(m_server->calls.size(), 2);
    }

    void keepsRequestsAcrossARestart()
    {
        const NotificationRequest second{QStringLiteral("B"), QStringLiteral("الفكرون 🗑️"),
                                         QStringLiteral("كنت بنام بس فكرتك ما خلتني 🥱"), QStringLiteral("default"),
                                         {2024, 7, 2, 19, 0}};
        {
            auto center = makeCenter();
            center->add(request(QStringLiteral("A"), {2024, 7, 1, 9, 0}));
            center->add(request(QStringLiteral("B"), {2024, 7, 1, 9, 0}));
            center->add(request(QStringLiteral("C"), {2024, 7, 3, 10, 0}));
            center->add(second);
            center->removePendingRequests({QStringLiteral("A"), QStringLiteral("never-scheduled")});
        }
        auto center = makeCenter();
        const QList<NotificationRequest> pending = center->pendingRequests();
        QCOMPARE(identifiers(pending), (QStringList{QStringLiteral("B"), QStringLiteral("C")}));
        QVERIFY(pending.contains(second));
    }

    void replacingARequestMovesItsMinute()
    {
        QVERIFY(startServer());
        auto center = makeCenter();
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 11, 0}, QStringLiteral("old")));
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 12, 0}, QStringLiteral("new")));
        QCOMPARE(center->pendingRequests().size(), 1);

        m_now = utc("2024-06-01T09:30:00Z");
        center->reschedule();
        roundTrip();
        QCOMPARE(m_server->calls.size(), 0);

        m_now = utc("2024-06-01T10:00:00Z");
        center->reschedule();
        QTRY_COMPARE(m_server->calls.size(), 1);
        QCOMPARE(m_server->calls.first().body, QStringLiteral("new"));
    }

    void changesWhileANotificationIsOnItsWay()
    {
        QVERIFY(startServer());
        m_now = utc("2024-06-01T12:00:00Z");
        auto center = makeCenter();
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 13, 0}));
        center->add(request(QStringLiteral("B"), {2024, 6, 1, 13, 0}));
        // Both are sent; before the server answers, A is scheduled anew and B cancelled.
        const NotificationRequest again = request(QStringLiteral("A"), {2024, 6, 5, 13, 0});
        center->add(again);
        center->removePendingRequests({QStringLiteral("B")});

        QTRY_COMPARE(m_server->calls.size(), 2);
        roundTrip();
        QCOMPARE(center->pendingRequests(), QList<NotificationRequest>{again});
        center.reset();
        QCOMPARE(makeCenter()->pendingRequests(), QList<NotificationRequest>{again});
    }

    void unreadableFilesAreMovedAsideKeepingWhatCanBeRead_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("kept");

        QTest::newRow("not JSON") << QByteArray("\x00\xff[{", 4) << QStringList();
        QTest::newRow("cut short") << QByteArray(R"([{"identifier":"A","title":"t","body":"b","sound":"default",)")
                                   << QStringList();
        QTest::newRow("not a list") << QByteArray(R"({"identifier":"A"})") << QStringList();
        QTest::newRow("some entries bad") << QByteArray(R"([
            {"identifier":"good","title":"t","body":"b","sound":"default",
             "trigger":{"year":2024,"month":7,"day":1,"hour":9,"minute":0}},
            {"identifier":"no trigger","title":"t","body":"b","sound":"default"},
            {"identifier":"month 13","title":"t","body":"b","sound":"default",
             "trigger":{"year":2024,"month":13,"day":1,"hour":9,"minute":0}},
            {"identifier":"half minute","title":"t","body":"b","sound":"default",
             "trigger":{"year":2024,"month":7,"day":1,"hour":9,"minute":0.5}},
            {"identifier":"","title":"t","body":"b","sound":"default",
             "trigger":{"year":2024,"month":7,"day":1,"hour":9,"minute":0}},
            {"identifier":"number title","title":7,"body":"b","sound":"default",
             "trigger":{"year":2024,"month":7,"day":1,"hour":9,"minute":0}},
            42])") << QStringList{QStringLiteral("good")};
    }

    void unreadableFilesAreMovedAsideKeepingWhatCanBeRead()
    {
        QFETCH(QByteArray, content);
        QFETCH(QStringList, kept);
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be read in full"));
        auto center = makeCenter();
        QCOMPARE(identifiers(center->pendingRequests()), kept);

        QFile aside(path() + QStringLiteral(".corrupt"));
        QVERIFY(aside.open(QIODevice::ReadOnly));
        QCOMPARE(aside.readAll(), content);

        // What was kept was written back cleanly: the next start reads it without a fuss.
        center.reset();
        QCOMPARE(identifiers(makeCenter()->pendingRequests()), kept);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files).size(), 2);
    }

    void anEarlierCopyAsideIsNeverOverwritten()
    {
        for (const QByteArray &content : {QByteArray("first"), QByteArray("second")}) {
            QSaveFile file(path());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
            QVERIFY(file.commit());
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be read in full"));
            makeCenter();
        }
        QFile first(path() + QStringLiteral(".corrupt"));
        QFile second(path() + QStringLiteral(".corrupt.2"));
        QVERIFY(first.open(QIODevice::ReadOnly) && second.open(QIODevice::ReadOnly));
        QCOMPARE(first.readAll(), QByteArray("first"));
        QCOMPARE(second.readAll(), QByteArray("second"));
    }

    void withoutAServerRequestsWaitForOneToAppear()
    {
        m_now = utc("2024-06-01T12:00:00Z");
        auto center = makeCenter();
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 13, 0}));
        roundTrip();
        center->reschedule();
        roundTrip();
        QCOMPARE(identifiers(center->pendingRequests()), QStringList{QStringLiteral("A")});

        QVERIFY(startServer());
        QTRY_COMPARE(m_server->calls.size(), 1);
        QTRY_VERIFY(center->pendingRequests().isEmpty());
        roundTrip();
        QCOMPARE(m_server->calls.size(), 1);
    }

    void aServerThatRefusesIsAskedAgainWhenItRestarts()
    {
        QVERIFY(startServer());
        m_server->refusing = true;
        m_now = utc("2024-06-01T12:00:00Z");
        auto center = makeCenter();
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 13, 0}));
        QTRY_COMPARE(m_server->refused, 1);
        roundTrip();
        center->reschedule();
        roundTrip();
        QCOMPARE(m_server->refused, 1);
        QCOMPARE(identifiers(center->pendingRequests()), QStringList{QStringLiteral("A")});

        m_server->refusing = false;
        QVERIFY(m_serverBus->unregisterService(service) && m_serverBus->registerService(service));
        QTRY_COMPARE(m_server->calls.size(), 1);
        QTRY_VERIFY(center->pendingRequests().isEmpty());
    }

    void aClickOnOurNotificationOpensItsIdea()
    {
        QVERIFY(startServer());
        m_now = utc("2024-06-01T12:00:00Z");
        auto center = makeCenter();
        QSignalSpy activated(center.get(), &NotificationCenter::notificationActivated);
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 13, 0}));
        center->add(request(QStringLiteral("B"), {2024, 6, 1, 13, 0}));
        QTRY_COMPARE(m_server->calls.size(), 2);
        QTRY_VERIFY(center->pendingRequests().isEmpty());
        const uint a = m_server->calls.at(0).id;
        const uint b = m_server->calls.at(1).id;

        emit m_server->ActionInvoked(a, QStringLiteral("default"));
        QTRY_COMPARE(activated.size(), 1);
        QCOMPARE(activated.first().first().toString(), QStringLiteral("A"));

        // Someone else's notification, another action, one already closed: none is ours
        // to open. The click on B after them shows they were all looked at.
        emit m_server->ActionInvoked(b + 100, QStringLiteral("default"));
        emit m_server->ActionInvoked(b, QStringLiteral("dismiss"));
        m_server->CloseNotification(a);
        emit m_server->ActionInvoked(a, QStringLiteral("default"));
        emit m_server->ActionInvoked(b, QStringLiteral("default"));
        QTRY_COMPARE(activated.size(), 2);
        QCOMPARE(activated.last().first().toString(), QStringLiteral("B"));
    }

    void idsOfAnEarlierServerAreForgotten()
    {
        QVERIFY(startServer());
        m_now = utc("2024-06-01T12:00:00Z");
        auto center = makeCenter();
        QSignalSpy activated(center.get(), &NotificationCenter::notificationActivated);
        center->add(request(QStringLiteral("A"), {2024, 6, 1, 13, 0}));
        QTRY_VERIFY(center->pendingRequests().isEmpty());
        const uint a = m_server->calls.at(0).id;

        // A restarted server numbers afresh: its id `a` is someone else's notification.
        QVERIFY(m_serverBus->unregisterService(service) && m_serverBus->registerService(service));
        center->add(request(QStringLiteral("B"), {2024, 6, 1, 13, 0}));
        QTRY_VERIFY(center->pendingRequests().isEmpty());
        emit m_server->ActionInvoked(a, QStringLiteral("default"));
        emit m_server->ActionInvoked(m_server->calls.at(1).id, QStringLiteral("default"));
        QTRY_VERIFY(!activated.isEmpty());
        QCOMPARE(activated.first().first().toString(), QStringLiteral("B"));
    }

    void authorisationFollowsTheServer_data()
    {
        QTest::addColumn<bool>("serverRunning");
        QTest::newRow("server") << true;
        QTest::newRow("no server") << false;
    }

    void authorisationFollowsTheServer()
    {
        QFETCH(bool, serverRunning);
        if (serverRunning)
            QVERIFY(startServer());
        auto center = makeCenter();
        QList<bool> answers;
        center->requestAuthorization([&](bool granted) { answers.append(granted); });
        QTRY_COMPARE(answers.size(), 1);
        QCOMPARE(answers.first(), serverRunning);
        roundTrip();
        QCOMPARE(answers.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestDesktopNotificationCenter)
#include "tst_desktopnotificationcenter.moc"
