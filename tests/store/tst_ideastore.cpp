#include "IdeaStore.h"
#include "TestFolders.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <sqlite3.h>


namespace {

QDateTime at(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
}

// Reads the file as SQLite sees it, behind the store's back.
struct RawDb
{
    explicit RawDb(const QString &path) { sqlite3_open_v2(path.toUtf8(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr); }
    ~RawDb() { sqlite3_close_v2(db); }
    QList<QStringList> rows(const char *sql) const
    {
        QList<QStringList> result;
        sqlite3_stmt *statement = nullptr;
        if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK)
            return result;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            QStringList row;
            for (int column = 0; column < sqlite3_column_count(statement); ++column)
                row << (sqlite3_column_type(statement, column) == SQLITE_NULL
                            ? QStringLiteral("NULL")
                            : QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(statement, column))));
            result << row;
        }
        sqlite3_finalize(statement);
        return result;
    }
    void exec(const char *sql) const { QCOMPARE(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK); }
    sqlite3 *db = nullptr;
};

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestIdeaStore : public QObject
{
    Q_OBJECT

    TestFolders folders;
    QString path;
    std::unique_ptr<IdeaStore> store;
    qint64 now = 1'700'000'000'000;

    void openStore()
    {
        IdeaStore::Opening opening = IdeaStore::open(path);
        QVERIFY2(opening.store, qPrintable(opening.error));
        store = std::move(opening.store);
    }

    Idea add(const QString &title, qint64 createdAt, const QString &status = "active")
    {
        Idea idea = Idea::make(title, "", "فكرة", false, std::nullopt, false, at(createdAt));
        idea.status = status;
        store->insert(idea);
        return idea;
    }

    static QStringList titles(const QList<Idea> &ideas)
    {
        QStringList result;
        for (const Idea &idea : ideas)
            result << idea.title;
        return result;
    }

    // Writes a file the store must refuse, then checks that refusing left it alone.
    void expectRefusedUntouched(const QString &file, const QString &reasonPart)
    {
        const QByteArray before = contents(file);
        const QStringList siblings = QDir(QFileInfo(file).absolutePath()).entryList(QDir::Files);
        const IdeaStore::Opening opening = IdeaStore::open(file);
        QVERIFY(!opening.store);
        QVERIFY2(opening.error.contains(reasonPart), qPrintable(opening.error));
        QCOMPARE(contents(file), before);
        QCOMPARE(QDir(QFileInfo(file).absolutePath()).entryList(QDir::Files), siblings);
    }

private slots:
    void init()
    {
        path = folders.path() + "/data/Fikranest/Fikranest.sqlite";
        QDir(folders.path() + "/data").removeRecursively();
        openStore();
    }

    void cleanup() { store.reset(); }

    void fieldsAreStoredInTheirDocumentedForm()
    {
        const QDateTime reminder = at(1'700'000'600'000);
        Idea idea = Idea::make("موعد 🦷", "عند الدكتور\nالساعة ٤", "مهمة", true, reminder, true, at(now));
        QVERIFY(store->insert(idea));
        Idea plain = Idea::make("بدون موعد", "", "ملاحظة", false, std::nullopt, false, at(now + 1));
        QVERIFY(store->insert(plain));

        const RawDb raw(path);
        const QList<QStringList> rows = raw.rows("SELECT * FROM Idea ORDER BY rowid");
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0], QStringList({idea.id.toString(QUuid::WithoutBraces).toUpper(), "موعد 🦷",
                                       "عند الدكتور\nالساعة ٤", "مهمة", "active", "1", "1700000600000", "1",
                                       "1700000000000", "1700000000000"}));
        QCOMPARE(rows[1].at(5), "0");
        QCOMPARE(rows[1].at(6), "NULL");

        const std::optional<Idea> back = store->find(idea.recordId(), idea.id);
        QVERIFY(back && *back == idea);
        QCOMPARE(std::tie(back->id, back->title, back->body, back->reminderDate, back->createdAt),
                 std::tie(idea.id, idea.title, idea.body, idea.reminderDate, idea.createdAt));
        QVERIFY(!store->find(plain.recordId(), plain.id)->reminderDate);
        QVERIFY(!store->find(plain.recordId(), idea.id));
    }

    void readsAreNewestFirst()
    {
        add("b", 2000);
        add("a", 1000);
        add("d", 4000, "done");
        add("c", 3000);
        add("c-later-same-time", 3000);
        QCOMPARE(titles(store->allIdeas()), QStringList({"d", "c-later-same-time", "c", "b", "a"}));
        QCOMPARE(titles(store->page({"active", {}, false}, std::nullopt, 100)), QStringList({"c-later-same-time", "c", "b", "a"}));
        QCOMPARE(titles(store->page({"done", {}, false}, std::nullopt, 100)), QStringList({"d"}));
    }

    void writesAnnounceThemselvesAndNeverLandOnAnotherRecord()
    {
        QSignalSpy inserted(store.get(), &IdeaStore::inserted);
        QSignalSpy updated(store.get(), &IdeaStore::updated);
        QSignalSpy removed(store.get(), &IdeaStore::removed);

        add("A", 1000);
        Idea b = add("B", 2000);
        QCOMPARE(inserted.size(), 2);
        QCOMPARE(inserted.last().first().value<Idea>().recordId(), b.recordId());
        b.title = "B2";
        QCOMPARE(store->update(b), IdeaStore::Write::done);
        QCOMPARE(store->find(b.recordId(), b.id)->title, "B2");
        QCOMPARE(store->remove(b), IdeaStore::Write::done);

        // SQLite hands B's row to C; the stale copy of B must not overwrite it.
        const Idea c = add("C", 3000);
        QCOMPARE(c.recordId(), b.recordId());
        b.title = "stale";
        QCOMPARE(store->update(b), IdeaStore::Write::gone);
        QCOMPARE(store->remove(b), IdeaStore::Write::gone);
        QCOMPARE(store->update(Idea()), IdeaStore::Write::gone);
        QCOMPARE(titles(store->allIdeas()), QStringList({"C", "A"}));
        QCOMPARE(updated.size(), 1);
        QCOMPARE(removed.size(), 1);
        QVERIFY(!IdeaStore::messageFor(IdeaStore::Write::gone).isEmpty());
        QVERIFY(IdeaStore::messageFor(IdeaStore::Write::done).isEmpty());
    }

    void aFailedWriteIsReportedAndChangesNothing()
    {
        Idea kept = add("قبل", 1000);
        {
            // Every write refused from here on, as a full disk would.
            const RawDb raw(path);
            raw.exec("CREATE TRIGGER refuseInsert BEFORE INSERT ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END;"
                     "CREATE TRIGGER refuseUpdate BEFORE UPDATE ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END;");
        }
        QSignalSpy failed(store.get(), &IdeaStore::writeFailed);
        QSignalSpy changed(store.get(), &IdeaStore::updated);

        Idea idea = Idea::make("بعد", "", "فكرة", false, std::nullopt, false);
        QVERIFY(!store->insert(idea));
        QVERIFY(!idea.isStored());
        kept.status = "done";
        QCOMPARE(store->update(kept), IdeaStore::Write::failed);
        QCOMPARE(failed.size(), 2);
        QCOMPARE(failed.first().first().toString(), IdeaStore::writeFailureMessage());
        QCOMPARE(changed.size(), 0);
        QCOMPARE(titles(store->allIdeas()), QStringList({"قبل"}));
        QCOMPARE(store->allIdeas().first().status, "active");
    }

    void refusesFilesThatAreNotItsOwn()
    {
        const QString folder = folders.path() + "/refuse";
        QDir().mkpath(folder);

        const QString garbage = folder + "/garbage.sqlite";
        QFile file(garbage);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(8192, 'x'));
        file.close();
        expectRefusedUntouched(garbage, "not a database");

        const QString foreign = folder + "/foreign.sqlite";
        {
            RawDb raw(foreign);
            raw.exec("CREATE TABLE notes (text TEXT); INSERT INTO notes VALUES ('mine')");
        }
        expectRefusedUntouched(foreign, "not a Fikranest store");

        add("x", 1000);
        store.reset();
        {
            RawDb raw(path);
            raw.exec("PRAGMA wal_checkpoint(TRUNCATE); PRAGMA user_version = 20000");
        }
        expectRefusedUntouched(path, "newer version");

        {
            RawDb raw(path);
            raw.exec("PRAGMA user_version = 10000; ALTER TABLE Idea ADD COLUMN colour TEXT; "
                     "PRAGMA wal_checkpoint(TRUNCATE)");
        }
        expectRefusedUntouched(path, "unexpected columns");
    }

    void aFolderThatCannotBeMadeIsReported()
    {
        const QString folder = folders.path() + "/not-a-folder";
        QFile blocker(folder);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const IdeaStore::Opening opening = IdeaStore::open(folder + "/Fikranest.sqlite");
        QVERIFY(!opening.store);
        QVERIFY(!opening.error.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestIdeaStore)
#include "tst_ideastore.moc"
