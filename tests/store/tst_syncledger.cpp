#include "SyncLedger.h"
#include "TestFolders.h"

#include <QtTest>

#include <sqlite3.h>

class TestSyncLedger : public QObject
{
    Q_OBJECT

    TestFolders folders;
    QString path;

    std::unique_ptr<SyncLedger> open()
    {
        SyncLedger::Opening opening = SyncLedger::open(path);
        if (!opening.ledger)
            qWarning("%s", qPrintable(opening.error));
        return std::move(opening.ledger);
    }

private slots:
    void init()
    {
        QDir(folders.path() + "/data").removeRecursively();
        path = SyncLedger::pathBeside(folders.path() + "/data/Fikranest.sqlite");
        QVERIFY(QDir().mkpath(folders.path() + "/data"));
    }

    void refusesWhatIsNotALedger_data()
    {
        QTest::addColumn<QByteArray>("sql");
        QTest::newRow("text") << QByteArray();
        QTest::newRow("another program's") << QByteArray("PRAGMA application_id=1181446766");
        QTest::newRow("newer ledger") << QByteArray("PRAGMA user_version=2");
    }

    // Each starts as a real ledger, so only the mark that was changed can refuse it.
    void refusesWhatIsNotALedger()
    {
        QFETCH(QByteArray, sql);
        QVERIFY(open());
        QFile file(path);
        sqlite3 *db = nullptr;
        if (sql.isEmpty())
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("not a ledger") > 0);
        else if (sqlite3_open(QFile::encodeName(path), &db) == SQLITE_OK)
            QCOMPARE(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
        file.close();
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray before = file.readAll();
        const QStringList beside = QDir(folders.path() + "/data").entryList(QDir::Files);

        QVERIFY(!SyncLedger::open(path).error.isEmpty());
        QVERIFY(file.seek(0));
        QCOMPARE(file.readAll(), before);
        QCOMPARE(QDir(folders.path() + "/data").entryList(QDir::Files), beside);
    }

    void keepsWhatItRecordsUntilTheListChanges()
    {
        const SyncLedger::Entry entry{QUuid::createUuid(), "/tasks/a.ics", QByteArray(), QByteArray("BEGIN\0VTODO", 11)};
        auto ledger = open();
        QVERIFY(ledger);
        QVERIFY(ledger->setListUrl("https://dav.example/tasks/") && ledger->setSyncToken("t1") && ledger->put(entry));
        ledger = open();
        QVERIFY(ledger);
        QVERIFY(ledger->setListUrl("https://dav.example/tasks/"));
        QCOMPARE(ledger->syncToken(), "t1");
        QCOMPARE(ledger->entries().keys(), QList<QUuid>{entry.id});
        const auto read = ledger->entry(entry.id);
        QVERIFY(read && read->href == entry.href && read->etag == entry.etag && read->synced == entry.synced);

        QVERIFY(ledger->setListUrl("https://dav.example/other/"));
        QVERIFY(ledger->syncToken().isEmpty() && ledger->entries().isEmpty());
        QCOMPARE(ledger->listUrl(), "https://dav.example/other/");
    }

    void aFailedTransactionLeavesNothing()
    {
        auto ledger = open();
        QVERIFY(ledger);
        const auto writes = [&] { return ledger->setSyncToken("t2") && ledger->put({QUuid::createUuid(), "/x", "e", "s"}); };
        const auto undone = [&] { writes(); return false; };
        QVERIFY(!ledger->transaction(undone));
        QVERIFY(!ledger->transaction([&] { ledger->transaction(undone); return true; }));
        QVERIFY(ledger->syncToken().isEmpty() && ledger->entries().isEmpty());
        QVERIFY(ledger->transaction(writes) && ledger->entries().size() == 1);
    }
};

QTEST_GUILESS_MAIN(TestSyncLedger)
#include "tst_syncledger.moc"
