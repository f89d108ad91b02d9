#include "CalDavClient.h"
#include "RadicaleServer.h"

#include <QtTest>

using Failure = CalDavClient::Failure;

static QByteArray task(const char *uid, const char *summary)
{
    return QByteArray("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Fikranest//Tests//AR\r\nBEGIN:VTODO\r\nUID:") + uid
        + "\r\nDTSTAMP:20240101T090000Z\r\nSUMMARY:" + summary + "\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
}

static QStringList paths(const QList<CalDavClient::Resource> &resources)
{
    QStringList out;
    for (const auto &resource : resources)
        out << resource.url.path();
    return out;
}

class TestCalDavClient : public QObject
{
    Q_OBJECT

    RadicaleServer server;

private slots:
    // A new account from the bare address: no list, one made, then the whole life of two tasks.
    void listsAndTasks()
    {
        CalDavClient client({server.url(), server.user, server.password}, 10000);
        QList<CalDavClient::TaskList> lists;
        QVERIFY(!client.taskLists(lists));
        QVERIFY(lists.isEmpty());
        CalDavClient::TaskList made;
        QVERIFY(!client.makeTaskList(QStringLiteral("أفكار & مهام"), made));
        QVERIFY(!client.taskLists(lists));
        QCOMPARE(lists.size(), 1);
        QCOMPARE(lists[0].url, made.url);
        QCOMPARE(lists[0].displayName, QStringLiteral("أفكار & مهام"));
        QVERIFY(!client.checkList(made.url));
        QCOMPARE(client.checkList(made.url.resolved(QUrl("../nothing/"))).failure, Failure::gone);

        const QUrl a = made.url.resolved(QUrl("a b.ics")), b = made.url.resolved(QUrl("b.ics"));
        QByteArray etagA, etagB, again, changedA;
        CalDavClient::Changes first, next;
        QVERIFY(!client.put(a, task("a", "أولى"), {}, etagA));
        QVERIFY(!client.put(b, task("b", "ثانية"), {}, etagB));
        QCOMPARE(client.put(a, task("a", "again"), {}, again).failure, Failure::precondition);
        QCOMPARE(client.put(a, task("a", "stale"), "\"stale\"", again).failure, Failure::precondition);

        QVERIFY(!client.syncCollection(made.url, {}, first));
        QCOMPARE(paths(first.changed), QStringList({a.path(), b.path()}));
        QCOMPARE(first.changed[0].etag, etagA);
        QVERIFY(first.removed.isEmpty() && !first.token.isEmpty());

        QVERIFY(!client.put(a, task("a", "معدّلة"), etagA, changedA));
        QCOMPARE(client.remove(b, etagA).failure, Failure::precondition);
        QVERIFY(!client.remove(b, etagB));
        QCOMPARE(client.remove(b, etagB).failure, Failure::gone);

        QVERIFY(!client.syncCollection(made.url, first.token, next));
        QCOMPARE(paths(next.changed), QStringList{a.path()});
        QCOMPARE(next.changed[0].etag, changedA);
        QCOMPARE(next.removed, QList<QUrl>{b});
        QCOMPARE(client.syncCollection(made.url, "http://radicale.org/ns/sync/" + QByteArray(64, '0'), next).failure,
                 Failure::invalidToken);

        QList<CalDavClient::Resource> found;
        QVERIFY(!client.etags(made.url, found));
        QCOMPARE(paths(found), QStringList{a.path()});
        QCOMPARE(found[0].etag, changedA);
        QVERIFY(!client.multiget(made.url, {a, b}, found));
        QCOMPARE(paths(found), QStringList{a.path()});
        QVERIFY(found[0].ics.contains("SUMMARY:معدّلة"));
        CalDavClient::Resource one;
        QVERIFY(!client.get(a, one));
        QCOMPARE(one.etag, changedA);
        QCOMPARE(client.get(b, one).failure, Failure::gone);
    }

    void refusals()
    {
        QList<CalDavClient::TaskList> lists;
        CalDavClient wrong({server.url(), server.user, QStringLiteral("not it")});
        const CalDavClient::Error denied = wrong.taskLists(lists);
        QCOMPARE(denied.failure, Failure::unauthorized);
        QVERIFY(!denied.detail.contains(QStringLiteral("not it")));

        // 192.0.2.1 is reserved for documentation: anything sent there would time out.
        CalDavClient plain({QUrl("http://192.0.2.1/dav/"), server.user, server.password});
        QCOMPARE(plain.taskLists(lists).failure, Failure::insecure);

        // Radicale sends /.well-known/caldav on to its root.
        CalDavClient client({server.url().resolved(QUrl("/.well-known/caldav")), server.user, server.password});
        QVERIFY(!client.taskLists(lists));
        QCOMPARE(lists.size(), 1);
        server.stop();
        QCOMPARE(client.taskLists(lists).failure, Failure::offline);
        QVERIFY(server.start());
        QVERIFY(!client.taskLists(lists));
    }

    // Answers no honest server gives: each is refused, none is followed or crashes.
    void hostileAnswers_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("failure");
        QTest::addColumn<QString>("why");
        const auto http = [](const char *head, const QByteArray &body) {
            return "HTTP/1.1 " + QByteArray(head) + "\r\nContent-Length: " + QByteArray::number(body.size())
                + "\r\n\r\n" + body;
        };
        const QByteArray deep = "<multistatus xmlns='DAV:'>" + QByteArray("<a>").repeated(99)
            + QByteArray("</a>").repeated(99) + "</multistatus>";
        QTest::newRow("not XML") << http("207 Multi-Status", "<html><p>") << int(Failure::server) << "not DAV";
        QTest::newRow("nested too deep") << http("207 Multi-Status", deep) << int(Failure::server) << "not DAV";
        QTest::newRow("no sync-token") << http("207 Multi-Status", "<multistatus xmlns='DAV:'/>")
                                       << int(Failure::unsupported) << "without a sync-token";
        QTest::newRow("no such report") << http("403 Forbidden", "<error xmlns='DAV:'><supported-report/></error>")
                                        << int(Failure::unsupported) << "no sync-collection";
        QTest::newRow("token refused") << http("409 Conflict", "<x:error xmlns:x='DAV:'><x:valid-sync-token/></x:error>")
                                       << int(Failure::invalidToken) << "token refused";
        QTest::newRow("redirect off https") << http("301 Moved\r\nLocation: http://example.com/", {})
                                            << int(Failure::insecure) << "off https";
        QTest::newRow("redirect loop") << http("302 Found\r\nLocation: /again/", {}) << int(Failure::server)
                                       << "too many redirects";
        QTest::newRow("over 64 MiB") << "HTTP/1.1 207 Multi-Status\r\nContent-Length: 100000000\r\n\r\n"
                + QByteArray(65536, 'x') << int(Failure::server) << "over 64 MiB";
    }

    void hostileAnswers()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, failure);
        QFETCH(QString, why);
        QTcpServer fake;
        QVERIFY(fake.listen(QHostAddress::LocalHost));
        connect(&fake, &QTcpServer::newConnection, this, [&] {
            QTcpSocket *socket = fake.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket, answer] { socket->write(answer); });
        });
        const QUrl list(QStringLiteral("http://127.0.0.1:%1/list/").arg(fake.serverPort()));
        CalDavClient client({list, QStringLiteral("u"), QStringLiteral("p")}, 5000);
        CalDavClient::Changes changes;
        const CalDavClient::Error error = client.syncCollection(list, "token", changes);
        QCOMPARE(int(error.failure), failure);
        QVERIFY2(error.detail.contains(why), qPrintable(error.detail));
    }
};

QTEST_GUILESS_MAIN(TestCalDavClient)
#include "tst_caldavclient.moc"
