#include "SyncLedger.h"

#include "StoreFileCheck.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <sys/stat.h>

namespace {

// "FkSy": tells a ledger from the store beside it and from any other program's database.
constexpr int applicationId = 0x466B5379;
constexpr int schemaVersion = 1;

const char *const listUrlKey = "listUrl";
const char *const syncTokenKey = "syncToken";

const char *const createTables = R"(
CREATE TABLE Setting (key TEXT PRIMARY KEY NOT NULL, value BLOB NOT NULL) WITHOUT ROWID;
CREATE TABLE Entry (
    id TEXT PRIMARY KEY NOT NULL,
    href TEXT NOT NULL,
    etag BLOB NOT NULL,
    synced BLOB NOT NULL) WITHOUT ROWID;)";

bool run(sqlite3 *db, const char *sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}


QByteArray bytes(sqlite3_stmt *statement, int column)
{
    const auto *data = static_cast<const char *>(sqlite3_column_blob(statement, column));
    return QByteArray(data, sqlite3_column_bytes(statement, column));
}

// Empty arrays still hand SQLite a pointer, so they are stored as empty, not NULL.
void bindBytes(sqlite3_stmt *statement, int index, const QByteArray &value)
{
    sqlite3_bind_blob(statement, index, value.constData(), int(value.size()), SQLITE_TRANSIENT);
}

void bindText(sqlite3_stmt *statement, int index, const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    sqlite3_bind_text(statement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

// The form the store keeps ids in, so the two files can be read side by side.
QString idText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<SyncLedger::Entry> readEntry(sqlite3_stmt *statement)
{
    const QUuid id = QUuid::fromString(QString::fromUtf8(bytes(statement, 0)));
    if (id.isNull())
        return std::nullopt;
    return SyncLedger::Entry{id, QString::fromUtf8(bytes(statement, 1)), bytes(statement, 2), bytes(statement, 3)};
}

} // namespace

SyncLedger::Opening SyncLedger::open(const QString &path)
{
    const StoreFileCheck::Target target = StoreFileCheck::prepare(path, {applicationId, schemaVersion, "a sync ledger", createTables});
    if (!target.refusal.isEmpty())
        return {nullptr, target.refusal};
    std::array<sqlite3_stmt *, Slots> statements{};
    const auto fail = [&](sqlite3 *db, const QString &reason) {
        for (sqlite3_stmt *statement : statements)
            sqlite3_finalize(statement);
        sqlite3_close_v2(db);
        if (target.created)
            QFile::remove(path);
        return Opening{nullptr, reason};
    };

    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(target.nativePath.constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr)
        != SQLITE_OK)
        return fail(db, db ? StoreFileCheck::sqliteError(db) : QStringLiteral("out of memory"));
    if (sqlite3_db_readonly(db, "main") == 1)
        return fail(db, QStringLiteral("it is read-only"));
    sqlite3_busy_timeout(db, 5000);
    // As the store: a write that returned survives a crash of the process or the machine.
    if (!run(db, "PRAGMA journal_mode=WAL") || !run(db, "PRAGMA synchronous=FULL"))
        return fail(db, StoreFileCheck::sqliteError(db));
    if (target.empty) {
        const QByteArray schema = QByteArray("BEGIN IMMEDIATE;") + createTables
            + "PRAGMA application_id=" + QByteArray::number(applicationId) + ";"
            + "PRAGMA user_version=" + QByteArray::number(schemaVersion) + ";COMMIT;";
        if (!run(db, schema.constData())) {
            const QString reason = StoreFileCheck::sqliteError(db);
            run(db, "ROLLBACK");
            return fail(db, reason);
        }
    }

    // In slot order. Preparing them all here also proves the tables are the ones expected.
    static const char *const sql[Slots] = {
        "SELECT value FROM Setting WHERE key = ?",
        "INSERT OR REPLACE INTO Setting (key, value) VALUES (?, ?)",
        "DELETE FROM Setting",
        "SELECT id, href, etag, synced FROM Entry",
        "SELECT id, href, etag, synced FROM Entry WHERE id = ?",
        "INSERT OR REPLACE INTO Entry (id, href, etag, synced) VALUES (?, ?, ?, ?)",
        "DELETE FROM Entry WHERE id = ?",
        "DELETE FROM Entry",
    };
    for (int slot = 0; slot < Slots; ++slot) {
        if (sqlite3_prepare_v3(db, sql[slot], -1, SQLITE_PREPARE_PERSISTENT, &statements[size_t(slot)], nullptr)
            != SQLITE_OK)
            return fail(db, StoreFileCheck::sqliteError(db));
    }
    for (const char *journal : {"-wal", "-shm"})
        ::chmod((target.nativePath + journal).constData(), 0600);
    return {std::unique_ptr<SyncLedger>(new SyncLedger(db, statements)), {}};
}

QString SyncLedger::pathBeside(const QString &storePath)
{
    return QFileInfo(storePath).absolutePath() + QStringLiteral("/Sync.sqlite");
}

SyncLedger::SyncLedger(sqlite3 *db, const std::array<sqlite3_stmt *, Slots> &statements)
    : m_db(db), m_statements(statements)
{
}

SyncLedger::~SyncLedger()
{
    for (sqlite3_stmt *statement : m_statements)
        sqlite3_finalize(statement);
    // Leaves the whole ledger in its one file, as the store does.
    run(m_db, "PRAGMA wal_checkpoint(TRUNCATE)");
    sqlite3_close_v2(m_db);
}

bool SyncLedger::failed()
{
    qWarning("SyncLedger: %s", sqlite3_errmsg(m_db));
    if (m_inTransaction)
        m_spoiled = true;
    return false;
}

bool SyncLedger::exec(Slot slot)
{
    sqlite3_stmt *statement = m_statements[slot];
    const int rc = sqlite3_step(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return rc == SQLITE_DONE || failed();
}

QByteArray SyncLedger::value(const char *key) const
{
    sqlite3_stmt *statement = m_statements[GetValue];
    sqlite3_bind_text(statement, 1, key, -1, SQLITE_STATIC);
    QByteArray value;
    if (sqlite3_step(statement) == SQLITE_ROW)
        value = bytes(statement, 0);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return value;
}

bool SyncLedger::setValue(const char *key, const QByteArray &value)
{
    sqlite3_stmt *statement = m_statements[SetValue];
    sqlite3_bind_text(statement, 1, key, -1, SQLITE_STATIC);
    bindBytes(statement, 2, value);
    return exec(SetValue);
}

QString SyncLedger::listUrl() const
{
    return QString::fromUtf8(value(listUrlKey));
}

bool SyncLedger::setListUrl(const QString &url)
{
    if (url == listUrl())
        return true;
    // Another list's token and hrefs mean nothing to this one.
    return transaction([&] {
        return exec(ClearValues) && exec(ClearEntries) && setValue(listUrlKey, url.toUtf8());
    });
}

QByteArray SyncLedger::syncToken() const
{
    return value(syncTokenKey);
}

bool SyncLedger::setSyncToken(const QByteArray &token)
{
    return setValue(syncTokenKey, token);
}

QHash<QUuid, SyncLedger::Entry> SyncLedger::entries() const
{
    sqlite3_stmt *statement = m_statements[AllEntries];
    QHash<QUuid, Entry> entries;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        if (std::optional<Entry> entry = readEntry(statement))
            entries.insert(entry->id, *entry);
    }
    sqlite3_reset(statement);
    return entries;
}

std::optional<SyncLedger::Entry> SyncLedger::entry(const QUuid &id) const
{
    sqlite3_stmt *statement = m_statements[OneEntry];
    bindText(statement, 1, idText(id));
    std::optional<Entry> entry;
    if (sqlite3_step(statement) == SQLITE_ROW)
        entry = readEntry(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return entry;
}

bool SyncLedger::put(const Entry &entry)
{
    sqlite3_stmt *statement = m_statements[PutEntry];
    bindText(statement, 1, idText(entry.id));
    bindText(statement, 2, entry.href);
    bindBytes(statement, 3, entry.etag);
    bindBytes(statement, 4, entry.synced);
    return exec(PutEntry);
}

bool SyncLedger::remove(const QUuid &id)
{
    bindText(m_statements[RemoveEntry], 1, idText(id));
    return exec(RemoveEntry);
}

bool SyncLedger::clear()
{
    return transaction([this] { return exec(ClearValues) && exec(ClearEntries); });
}

bool SyncLedger::transaction(const std::function<bool()> &changes)
{
    if (m_inTransaction) {
        if (!changes())
            m_spoiled = true;
        return !m_spoiled;
    }
    if (!run(m_db, "BEGIN IMMEDIATE"))
        return failed();
    m_inTransaction = true;
    m_spoiled = false;
    const bool done = changes() && !m_spoiled;
    m_inTransaction = false;
    if (done && run(m_db, "COMMIT"))
        return true;
    if (done)
        failed();
    // Some failures end the transaction on their own; a ROLLBACK then has nothing to undo.
    if (!sqlite3_get_autocommit(m_db))
        run(m_db, "ROLLBACK");
    return false;
}
