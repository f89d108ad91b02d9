#include "SyncLedger.h"
#include "TestFolders.h"

#include <QtTest>

#include <sqlite3.h>

class TestSyncLedger : public QObject
{
    Q_OBJECT

    TestFolders folders;
    const QString path = SyncLedger::pathBeside(folders.path() + "/Fikranest.sqlite");

private slots:
    void init() { QFile::remove(path); }

    void refusesWhatIsNotALedger_data()
    {
        QTest::addColumn<QByteArray>("sql");
        QTest::newRow("one byte of text") << QByteArray(); // SQLite alone takes it for an empty database
        QTest::newRow("another program's") << QByteArray("PRAGMA application_id=1181446766");
        QTest::newRow("newer ledger") << QByteArray("PRAGMA user_version=2");
    }

    // Each starts as a real ledger, so only the mark that was changed can refuse it.
    void refusesWhatIsNotALedger()
    {
        QFETCH(QByteArray, sql);
        QVERIFY(SyncLedger::open(path).ledger);
        QFile file(path);
        sqlite3 *db = nullptr;
        if (sql.isEmpty())
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("x") == 1);
        else if (sqlite3_open(QFile::encodeName(path), &db) == SQLITE_OK)
            QCOMPARE(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
        file.close();
        const auto seen = [&] {
            return QDir(folders.path()).entryList(QDir::Files) << (file.open(QIODevice::ReadOnly) ? file.readAll().toHex() : "");
        };
        const QStringList before = seen();
        file.close();
        QVERIFY(!SyncLedger::open(path).error.isEmpty());
        QCOMPARE(seen(), before);
    }

    void keepsWhatItRecordsUntilTheListChanges()
    {
        const SyncLedger::Entry entry{QUuid::createUuid(), "/tasks/a.ics", QByteArray(), QByteArray("BEGIN\0VTODO", 11)};
        auto ledger = SyncLedger::open(path).ledger;
        QVERIFY(ledger && ledger->setListUrl("https://dav.example/tasks/") && ledger->setSyncToken("t1") && ledger->put(entry));
        ledger = SyncLedger::open(path).ledger;
        QVERIFY(ledger && ledger->setListUrl("https://dav.example/tasks/"));
        QVERIFY(ledger->syncToken() == "t1" && ledger->entries().keys() == QList<QUuid>{entry.id});
        const auto read = ledger->entry(entry.id);
        QVERIFY(read && read->href == entry.href && read->etag == entry.etag && read->synced == entry.synced);
        QVERIFY(ledger->setListUrl("https://dav.example/other/"));
        QVERIFY(ledger->syncToken().isEmpty() && ledger->entries().isEmpty());
        QCOMPARE(ledger->listUrl(), "https://dav.example/other/");
    }

    void aFailedTransactionLeavesNothing()
    {
        const auto ledger = SyncLedger::open(path).ledger;
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
