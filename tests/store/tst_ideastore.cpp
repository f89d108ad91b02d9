#include "IdeaStore.h"
#include "TestFolders.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QSignalSpy>
#include <QtTest>

#include <sqlite3.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

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
        sqlite3_exec(db, sql, [](void *out, int count, char **values, char **) {
            QStringList row;
            for (int column = 0; column < count; ++column)
                row << (values[column] ? QString::fromUtf8(values[column]) : QStringLiteral("NULL"));
            static_cast<QList<QStringList> *>(out)->append(row);
            return 0;
        }, &result, nullptr);
        return result;
    }
    void exec(const char *sql) const { QCOMPARE(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK); }
    sqlite3 *db = nullptr;
};

// What the thing at `path` is and holds, and what lies beside it; never opens a FIFO.
QStringList snapshot(const QString &path)
{
    struct stat entry{};
    ::lstat(QFile::encodeName(path).constData(), &entry);
    QStringList seen = QDir(QFileInfo(path).absolutePath()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
    seen << QString::number(entry.st_mode) << QString::number(entry.st_size);
    QFile file(path);
    if (S_ISREG(entry.st_mode) && file.open(QIODevice::ReadOnly))
        seen << QString::fromLatin1(file.readAll().toHex());
    return seen;
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
        Idea idea = Idea::make("موعد 🦷", "عند الدكتور\nالساعة ٤", "مهمة", true, at(1'700'000'600'000), true, at(now));
        Idea plain = Idea::make("بدون موعد", "", "ملاحظة", false, std::nullopt, false, at(now + 1));
        QVERIFY(store->insert(idea) && store->insert(plain));
        const QList<QStringList> rows = RawDb(path).rows("SELECT * FROM Idea ORDER BY rowid");
        QCOMPARE(rows.value(0), QStringList({idea.id.toString(QUuid::WithoutBraces).toUpper(), "موعد 🦷",
                                             "عند الدكتور\nالساعة ٤", "مهمة", "active", "1", "1700000600000", "1",
                                             "1700000000000", "1700000000000"}));
        QCOMPARE(rows.value(1).mid(5, 2), QStringList({"0", "NULL"}));

        // Closed while another connection is open, so SQLite's own checkpoint on close cannot run.
        store.reset();
        QCOMPARE(QFileInfo(path + "-wal").size(), 0);
        QVERIFY(QFile::copy(path, path + ".alone"));
        QCOMPARE(RawDb(path + ".alone").rows("SELECT count(*) FROM Idea"), QList<QStringList>{{"2"}});
    }

    void readsAreNewestFirst()
    {
        add("b", 2000);
        add("a", 1000);
        add("d", 4000, "done");
        add("c", 3000);
        add("c-later-same-time", 3000);
        QCOMPARE(titles(store->page({"active", {}, false}, std::nullopt, 100)), QStringList({"c-later-same-time", "c", "b", "a"}));
        QCOMPARE(titles(store->page({"done", {}, false}, std::nullopt, 100)), QStringList({"d"}));
    }

    // SQLite hands a deleted record's row to the next; a stale copy must not reach it.
    void writesNeverLandOnAnotherRecord()
    {
        add("A", 1000);
        Idea b = add("B", 2000);
        b.title = "B2";
        QCOMPARE(store->update(b), IdeaStore::Write::done);
        QCOMPARE(store->find(b.recordId(), b.id)->title, "B2");
        QCOMPARE(store->remove(b), IdeaStore::Write::done);

        const Idea c = add("C", 3000);
        QCOMPARE(c.recordId(), b.recordId());
        b.title = "stale";
        QCOMPARE(store->update(b), IdeaStore::Write::gone);
        QCOMPARE(store->remove(b), IdeaStore::Write::gone);
        QCOMPARE(titles(store->allIdeas()), QStringList({"C", "A"}));
    }

    // Reopened after a write the full disk refused, the store has lost nothing, and is
    // private again whatever the modes were left at.
    void aFullDiskLosesNothingAndEveryOpenMakesTheStorePrivate()
    {
        Idea kept = add("قبل", 1000);
        QSignalSpy failed(store.get(), &IdeaStore::writeFailed);
        Idea idea = Idea::make("بعد", "", "فكرة", false, std::nullopt, false);
        // No file may grow past the journal's present end.
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit room{};
        getrlimit(RLIMIT_FSIZE, &room);
        const rlimit full{rlim_t(QFileInfo(path + "-wal").size() + 100), room.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
        const bool inserted = store->insert(idea);
        kept.status = "done";
        const IdeaStore::Write updated = store->update(kept);
        setrlimit(RLIMIT_FSIZE, &room);
        QVERIFY(!inserted);
        QCOMPARE(updated, IdeaStore::Write::failed);
        QCOMPARE(failed.size(), 2);
        QCOMPARE(failed.first().first().toString(), IdeaStore::writeFailureMessage());

        store.reset();
        const QString folder = QFileInfo(path).absolutePath();
        QVERIFY(QFile(path + "-wal").open(QIODevice::WriteOnly));
        for (const auto &[file, bits] : {std::pair{folder, 0755}, {path, 0644}, {path + "-wal", 0644}})
            ::chmod(QFile::encodeName(file).constData(), mode_t(bits));
        openStore();
        QCOMPARE(RawDb(path).rows("PRAGMA integrity_check"), QList<QStringList>{{"ok"}});
        QCOMPARE(titles(store->allIdeas()), QStringList({"قبل"}));
        QCOMPARE(store->allIdeas().first().status, "active");
        // With room again, the same idea goes in.
        QVERIFY(store->insert(idea));
        for (const auto &[file, bits] : {std::pair{folder, 0700}, {path, 0600}, {path + "-wal", 0600}, {path + "-shm", 0600}}) {
            struct stat entry{};
            QCOMPARE(::stat(QFile::encodeName(file).constData(), &entry), 0);
            QCOMPARE(entry.st_mode & 07777, mode_t(bits));
        }
    }

    // Each is refused with its own reason, before SQLite could block on it or write beside it.
    void refusesWhatIsNotItsOwnStoreUntouched()
    {
        store.reset();
        const QString folder = folders.path() + "/refuse";
        QVERIFY(QDir().mkpath(folder));
        const auto copy = [this](const QString &to) { QVERIFY(QFile::copy(path, to)); };
        const auto mode = [](const QString &file, mode_t bits) { ::chmod(QFile::encodeName(file).constData(), bits); };
        // Another program's store in WAL mode, still open in it, and the same left mid-write.
        RawDb foreign(folder + "/foreign-live.sqlite");
        foreign.exec("PRAGMA journal_mode=WAL; CREATE TABLE notes (text TEXT); INSERT INTO notes VALUES ('mine')");
        QLocalServer socket;
        const QList<std::tuple<QString, std::function<void(const QString &)>, QString>> kinds = {
            {"garbage", [](const QString &file) { QFile out(file); QVERIFY(out.open(QIODevice::WriteOnly) && out.write(QByteArray(8192, 'x'))); },
             "it is not a database"},
            {"truncated", [&](const QString &file) { copy(file); QVERIFY(QFile::resize(file, 4096)); },
             "it is cut short: part of the database is missing"},
            {"foreign-live", [](const QString &) {}, "it is another program's database, not a Fikranest store"},
            {"foreign-crashed", [&](const QString &file) {
                 for (const char *part : {"", "-wal"})
                     QVERIFY(QFile::copy(folder + "/foreign-live.sqlite" + part, file + part));
             }, "another program's database"},
            {"newer", [&](const QString &file) { copy(file); RawDb(file).exec("PRAGMA user_version = 20000"); },
             "it was written by a newer version of Fikranest"},
            {"columns", [&](const QString &file) { copy(file); RawDb(file).exec("ALTER TABLE Idea ADD COLUMN colour TEXT"); },
             "its tables are not the ones Fikranest makes"},
            {"view", [&](const QString &file) { copy(file); RawDb(file).exec("CREATE VIEW v AS SELECT 1"); },
             "its tables are not the ones Fikranest makes"},
            {"unreadable", [&](const QString &file) { copy(file); mode(file, 0200); }, "there is no permission to read it"},
            {"read-only", [&](const QString &file) { copy(file); mode(file, 0400); }, "it is read-only"},
            {"folder", [](const QString &file) { QVERIFY(QDir().mkdir(file)); }, "it is a folder, not a file"},
            {"fifo", [](const QString &file) { QCOMPARE(::mkfifo(QFile::encodeName(file).constData(), 0600), 0); },
             "it is a named pipe (FIFO), not a file"},
            {"device", [](const QString &file) { QVERIFY(QFile::link("/dev/null", file)); }, "it is a device, not a file"},
            {"socket", [&](const QString &file) { QVERIFY(socket.listen(file)); }, "it is a socket, not a file"},
            {"dangling", [&](const QString &file) { QVERIFY(QFile::link(folder + "/nowhere", file)); },
             QString("it is a symbolic link to %1/nowhere, which does not exist").arg(folder)},
            {"under-a-file", [](const QString &file) { QFile(QFileInfo(file).absolutePath()).open(QIODevice::WriteOnly); },
             "cannot create the folder"},
        };
        for (const auto &[name, make, reason] : kinds) {
            const QString file = name == "under-a-file" ? folder + "/file/Fikranest.sqlite" : folder + "/" + name + ".sqlite";
            make(file);
            const QStringList before = snapshot(file);
            const IdeaStore::Opening opening = IdeaStore::open(file);
            QVERIFY2(!opening.store && opening.error.contains(reason), qPrintable(name + ": " + opening.error));
            QVERIFY2(snapshot(file) == before, qPrintable(name));
        }
    }
};

QTEST_GUILESS_MAIN(TestIdeaStore)
#include "tst_ideastore.moc"
