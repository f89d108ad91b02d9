#include "DesktopNotificationCenter.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QProcess>
#include <QSaveFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <optional>

static const QString service = "org.freedesktop.Notifications";
static const QString objectPath = "/org/freedesktop/Notifications";

static QDateTime utc(const char *text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate);
}

static NotificationRequest request(const QString &identifier, const NotificationTrigger &trigger)
{
    return {identifier, "الفكرون 🗑️", "هذي الفكرة ما نامت من يومها وهي تنتظرك 🥺", "default", trigger};
}

static bool write(const QString &path, const QByteArray &content)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

// Stands in for the desktop's notification server: counts what it is asked to show,
// and numbers the notifications from 40 in the order they came.
class FakeNotifications : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    int shown = 0;
    // Hung: it takes every call and answers none; the test answers them from `held`.
    bool hung = false;
    QList<QDBusMessage> held;

    static uint idOf(int call) { return 40 + uint(call); }

public slots:
    uint Notify(const QString &, uint, const QString &, const QString &, const QString &, const QStringList &,
                const QVariantMap &, int)
    {
        const uint id = idOf(shown++);
        hold({id});
        return id;
    }
    QString GetServerInformation(QString &, QString &, QString &)
    {
        hold({"fake", "", "", ""});
        return "fake";
    }

signals:
    void ActionInvoked(uint id, const QString &actionKey);
    void NotificationClosed(uint id, uint reason);

private:
    void hold(const QVariantList &reply)
    {
        if (hung) {
            setDelayedReply(true);
            held.append(message().createReply(reply));
        }
    }
};

class TestDesktopNotificationCenter : public QObject
{
    Q_OBJECT

    QTemporaryDir m_busFolder;
    QProcess m_busDaemon;
    QString m_busAddress;
    // Per test: a folder for the file, the center's and the server's own connections.
    std::optional<QTemporaryDir> m_folder;
    QDateTime m_now;
    std::optional<QDBusConnection> m_centerBus;
    std::optional<QDBusConnection> m_serverBus;
    std::optional<FakeNotifications> m_server;

    QString path() const { return m_folder->filePath("reminders.json"); }

    std::unique_ptr<DesktopNotificationCenter> makeCenter(const DesktopNotificationCenter::Clock &clock = {})
    {
        auto center = std::make_unique<DesktopNotificationCenter>(
            path(), *m_centerBus, clock ? clock : [this] { return m_now; },
            [] { return QTimeZone("Europe/Berlin"); });
        center->start();
        return center;
    }

    // The server's object is always there; owning the name is what makes it the server.
    bool startServer() { return m_serverBus->registerService(service); }
    bool restartServer() { return m_serverBus->unregisterService(service) && startServer(); }

    // Returns once everything the center has sent so far has reached the server and
    // the replies have been handed back: messages on one connection keep their order.
    void roundTrip()
    {
        QDBusPendingCallWatcher answer(m_centerBus->asyncCall(
            QDBusMessage::createMethodCall(service, objectPath, service, "GetServerInformation")));
        QSignalSpy answered(&answer, &QDBusPendingCallWatcher::finished);
        QTRY_COMPARE(answered.size(), 1);
    }

private slots:
    void initTestCase()
    {
        // No <servicedir>: nothing installed on this machine is ever started on this bus.
        const QString config = m_busFolder.filePath("bus.conf");
        QVERIFY(write(config, R"(<busconfig><type>session</type><listen>unix:dir=)" + m_busFolder.path().toUtf8()
                                  + R"(</listen><policy context="default"><allow own="*"/><allow eavesdrop="true"/>)"
                                    R"(<allow send_destination="*" eavesdrop="true"/></policy></busconfig>)"));
        m_busDaemon.start("dbus-daemon", {"--config-file=" + config, "--nofork", "--print-address"});
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
        m_folder.emplace();
        m_now = utc("2024-06-01T08:00:00Z");
        m_centerBus = QDBusConnection::connectToBus(m_busAddress, "center");
        m_serverBus = QDBusConnection::connectToBus(m_busAddress, "server");
        m_server.emplace();
        QVERIFY(m_serverBus->registerObject(objectPath, &*m_server,
                                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
    }

    void cleanup()
    {
        // Released by a call the bus answers, not by the disconnect it learns of later:
        // the next test's server must find the name free.
        m_serverBus->unregisterService(service);
        QDBusConnection::disconnectFromBus("center");
        QDBusConnection::disconnectFromBus("server");
    }

    void firesOnceAtTheFirstInstantTheMinuteIsReached()
    {
        QVERIFY(startServer());
        for (const auto &[trigger, instant] : {
                 std::pair{NotificationTrigger{2024, 6, 1, 10, 15}, utc("2024-06-01T08:15:00Z")},
                 // Clocks go from 02:00 straight to 03:00.
                 {NotificationTrigger{2024, 3, 31, 2, 30}, utc("2024-03-31T01:00:00Z")},
                 // 02:00 to 03:00 comes twice: first in summer time, then in winter time.
                 {NotificationTrigger{2024, 10, 27, 2, 30}, utc("2024-10-27T00:30:00Z")},
                 {NotificationTrigger{2025, 1, 1, 0, 0}, utc("2024-12-31T23:00:00Z")}}) {
            m_now = instant.addYears(-1);
            m_server->shown = 0;
            auto center = makeCenter();
            center->add(request("A", trigger));
            // The wall clock jumps back and forth; each time is looked at twice.
            for (const auto &[now, shown] : {std::pair{instant.addMSecs(-1), 0}, {instant, 1}, {instant.addYears(-1), 1},
                                             {instant.addSecs(3 * 3600), 1}}) {
                m_now = now;
                center->reschedule();
                center->reschedule();
                roundTrip();
                QCOMPARE(m_server->shown, shown);
            }
            QVERIFY(center->pendingRequests().isEmpty());
        }
    }

    void theTimerWakesForTheMinuteByItself()
    {
        QVERIFY(startServer());
        QElapsedTimer elapsed;
        elapsed.start();
        // A clock that runs, starting 1.2 s before the minute.
        auto center = makeCenter([elapsed] { return utc("2024-06-01T08:00:58.800Z").addMSecs(elapsed.elapsed()); });
        center->add(request("A", {2024, 6, 1, 10, 1}));
        QTRY_COMPARE_WITH_TIMEOUT(m_server->shown, 1, 15'000);
        QVERIFY(elapsed.elapsed() >= 1'200);
    }

    void changesWhileANotificationIsOnItsWay()
    {
        QVERIFY(startServer());
        auto center = makeCenter();
        center->add(request("A", {2024, 6, 1, 10, 0}));
        center->add(request("B", {2024, 6, 1, 10, 0}));
        // A is on its way and B waits its turn when A is scheduled anew and B cancelled.
        const NotificationRequest again{"A", "t", "كنت بنام بس فكرتك ما خلتني 🥱", "bell", {2024, 6, 5, 13, 0}};
        center->add(again);
        center->removePendingRequests({"B", "never-scheduled"});
        QCOMPARE(center->pendingRequests(), QList{again});

        roundTrip();
        QCOMPARE(m_server->shown, 1);
        QCOMPARE(center->pendingRequests(), QList{again});
        center.reset();
        // Reminders quote the ideas: the file is made private again whatever it was.
        QVERIFY(QFile::setPermissions(path(), QFile::permissions(path()) | QFileDevice::ReadOther));
        QCOMPARE(makeCenter()->pendingRequests(), QList{again});
        QCOMPARE(QFile::permissions(path()) & (QFileDevice::ReadGroup | QFileDevice::ReadOther), QFileDevice::Permissions());
    }

    void unreadableFilesAreMovedAsideKeepingWhatCanBeRead()
    {
        // Each bad entry breaks one thing in a good one.
        const QByteArray good = R"({"identifier":"A","title":"t","body":"b","sound":"",)"
                                R"("trigger":{"year":2024,"month":7,"day":1,"hour":9,"minute":0}})";
        const auto bad = [&](const char *from, const char *to) { return "," + QByteArray(good).replace(from, to); };
        using Requests = QList<NotificationRequest>;
        for (const auto &[content, kept] : {std::pair{QByteArray("\x00\xff[{", 4), Requests()}, // not JSON
                                            {QByteArray(R"([{"identifier":"A","title":"t",)"), Requests()}, // cut short
                                            {QByteArray(R"({"identifier":"A"})"), Requests()}, // not a list
                                            {"[" + good + bad("\"A\"", "\"\"") + bad("\"t\"", "7") + bad(":7,", ":13,")
                                                 + bad(":0}", ":0.5}") + bad("\"trigger\"", "\"when\"") + ",42]",
                                             Requests{{"A", "t", "b", "", {2024, 7, 1, 9, 0}}}}}) {
            m_folder.emplace();
            // A copy set aside earlier is never overwritten.
            QVERIFY(write(path() + ".corrupt", "earlier") && write(path(), content));
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("could not be read in full"));
            auto center = makeCenter();
            QCOMPARE(center->pendingRequests(), kept);
            for (const auto &[suffix, expected] : {std::pair{".corrupt", QByteArray("earlier")}, {".corrupt.2", content}}) {
                QFile aside(path() + suffix);
                QVERIFY(aside.open(QIODevice::ReadOnly));
                QCOMPARE(aside.readAll(), expected);
            }
            // What was kept was written back cleanly: the next start reads it without a fuss.
            center.reset();
            QCOMPARE(makeCenter()->pendingRequests(), kept);
            QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files).size(), 3);
        }
    }

    // With no server, permission is not granted and the reminder waits; a server
    // appearing on the bus is asked at once.
    void aServerThatAppearsLaterIsAskedAtOnce()
    {
        auto center = makeCenter();
        QList<bool> granted;
        center->requestAuthorization([&](bool answer) { granted.append(answer); });
        center->add(request("A", {2024, 6, 1, 10, 0}));
        roundTrip();
        QCOMPARE(granted, QList{false});
        QCOMPARE(center->pendingRequests().size(), 1);
        QVERIFY(startServer());
        QTRY_COMPARE(m_server->shown, 1);
        QTRY_VERIFY(center->pendingRequests().isEmpty());
    }

    void aServerThatHangsIsAskedToAnswerBeforeItGetsTheReminderAgain()
    {
        QVERIFY(startServer());
        m_server->hung = true;
        auto center = makeCenter();
        center->add(request("A", {2024, 6, 1, 10, 0}));
        // The call times out; what follows is a question, not a second copy it would show on waking.
        QTRY_COMPARE_WITH_TIMEOUT(m_server->held.size(), 2, 20'000);
        QCOMPARE(m_server->shown, 1);
        m_server->hung = false;
        for (const QDBusMessage &reply : std::exchange(m_server->held, {}))
            QVERIFY(m_serverBus->send(reply));
        // It answered: the reminder goes again, as the first copy's fate is unknown.
        QTRY_COMPARE(m_server->shown, 2);
        QTRY_VERIFY(center->pendingRequests().isEmpty());
    }

    void aClickOpensTheIdeaOnlyForOurLiveNotifications()
    {
        QVERIFY(startServer());
        auto center = makeCenter();
        QSignalSpy activated(center.get(), &NotificationCenter::notificationActivated);
        center->add(request("A", {2024, 6, 1, 10, 0}));
        center->add(request("B", {2024, 6, 1, 10, 0}));
        QTRY_COMPARE(m_server->shown, 2);
        const uint a = FakeNotifications::idOf(0), b = FakeNotifications::idOf(1);
        emit m_server->ActionInvoked(a, "default");
        // Someone else's notification, another action, one already closed: none is ours to open.
        emit m_server->ActionInvoked(b + 100, "default");
        emit m_server->ActionInvoked(b, "dismiss");
        emit m_server->NotificationClosed(a, 2);
        emit m_server->ActionInvoked(a, "default");
        emit m_server->ActionInvoked(b, "default");
        QTRY_COMPARE(activated.size(), 2);

        // A restarted server numbers afresh: B's id is now someone else's notification.
        QVERIFY(restartServer());
        center->add(request("C", {2024, 6, 1, 10, 0}));
        roundTrip();
        emit m_server->ActionInvoked(b, "default");
        emit m_server->ActionInvoked(FakeNotifications::idOf(2), "default");
        QTRY_COMPARE(activated.size(), 3);
        QCOMPARE(activated, (QList<QVariantList>{{"A"}, {"B"}, {"C"}}));
    }
};

QTEST_GUILESS_MAIN(TestDesktopNotificationCenter)
#include "tst_desktopnotificationcenter.moc"
