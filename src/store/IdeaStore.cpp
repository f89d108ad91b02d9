#include "IdeaStore.h"

#include "StoreFileCheck.h"

#include "NewestKeys.h"

#include <QFile>
#include <QStandardPaths>

#include <sqlite3.h>

#include <sys/stat.h>

namespace {

const char *const columns = "id, title, body, category, status, hasReminder, reminderDate, "
                            "isVoiceNote, createdAt, updatedAt";

enum Slot { InsertSlot, UpdateSlot, DeleteSlot, FindSlot };

IdeaStore *sharedStore = nullptr;

bool run(sqlite3 *db, const char *sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

QDateTime dateFromMs(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
}

QString text(sqlite3_stmt *statement, int column)
{
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(statement, column));
    return QString::fromUtf8(bytes, sqlite3_column_bytes(statement, column));
}

void bindText(sqlite3_stmt *statement, int index, const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    sqlite3_bind_text(statement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
}

// Binds the fields after `id`, in column order, from index `first`.
void bindFields(sqlite3_stmt *statement, const Idea &idea, int first)
{
    bindText(statement, first, idea.title);
    bindText(statement, first + 1, idea.body);
    bindText(statement, first + 2, idea.category);
    bindText(statement, first + 3, idea.status);
    sqlite3_bind_int(statement, first + 4, idea.hasReminder ? 1 : 0);
    if (idea.reminderDate && idea.reminderDate->isValid())
        sqlite3_bind_int64(statement, first + 5, idea.reminderDate->toMSecsSinceEpoch());
    else
        sqlite3_bind_null(statement, first + 5);
    sqlite3_bind_int(statement, first + 6, idea.isVoiceNote ? 1 : 0);
    sqlite3_bind_int64(statement, first + 7, idea.createdAt.toMSecsSinceEpoch());
    sqlite3_bind_int64(statement, first + 8, idea.updatedAt.toMSecsSinceEpoch());
}

} // namespace

IdeaStore::Opening IdeaStore::open(const QString &path)
{
    const StoreFileCheck::Target target = StoreFileCheck::prepare(path);
    if (!target.refusal.isEmpty())
        return {nullptr, target.refusal};
    const bool created = target.created;
    const bool empty = target.empty;
    const QByteArray &nativePath = target.nativePath;
    const auto fail = [&](sqlite3 *db, const QString &reason) {
        sqlite3_close_v2(db);
        if (created)
            QFile::remove(path);
        return Opening{nullptr, reason};
    };

    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(nativePath.constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr)
        != SQLITE_OK)
        return fail(db, db ? StoreFileCheck::sqliteError(db) : QStringLiteral("out of memory"));
    if (sqlite3_db_readonly(db, "main") == 1)
        return fail(db, QStringLiteral("it is read-only"));
    sqlite3_busy_timeout(db, 5000);

    // WAL with a full sync on commit: a write that returned survives a crash of the
    // process and of the machine.
    // A small page cache: the list's newest ideas are one walk over the table, which
    // the system's file cache serves as well, and a larger cache would only hold the
    // whole table in the program's memory after it.
    run(db, "PRAGMA cache_size=-256");
    if (!run(db, "PRAGMA journal_mode=WAL") || !run(db, "PRAGMA synchronous=FULL"))
        return fail(db, StoreFileCheck::sqliteError(db));
    if (empty) {
        const QByteArray schema = QByteArray("BEGIN IMMEDIATE;") + StoreFileCheck::storeIdentity().schema + ";"
            + "PRAGMA application_id=" + QByteArray::number(StoreFileCheck::applicationId) + ";"
            + "PRAGMA user_version=" + QByteArray::number(StoreFileCheck::schemaVersion) + ";COMMIT;";
        if (!run(db, schema.constData())) {
            const QString reason = StoreFileCheck::sqliteError(db);
            run(db, "ROLLBACK");
            return fail(db, reason);
        }
    }
    for (const char *journal : {"-wal", "-shm"})
        ::chmod((nativePath + journal).constData(), 0600);
    return {std::unique_ptr<IdeaStore>(new IdeaStore(db, path)), {}};
}

QString IdeaStore::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Fikranest/Fikranest.sqlite");
}

IdeaStore::IdeaStore(sqlite3 *db, const QString &path)
    : m_db(db), m_path(path)
{
}

IdeaStore::~IdeaStore()
{
    if (sharedStore == this)
        sharedStore = nullptr;
    for (sqlite3_stmt *statement : m_statements)
        sqlite3_finalize(statement);
    // A clean exit leaves the whole store in the one file, even while someone else
    // has it open and SQLite's own checkpoint on close would not run.
    run(m_db, "PRAGMA wal_checkpoint(TRUNCATE)");
    sqlite3_close_v2(m_db);
}

sqlite3_stmt *IdeaStore::prepared(int slot, const char *sql) const
{
    sqlite3_stmt *&statement = m_statements[size_t(slot)];
    if (!statement)
        sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    else
        sqlite3_reset(statement);
    if (statement)
        sqlite3_clear_bindings(statement);
    return statement;
}

bool IdeaStore::exec(sqlite3_stmt *statement)
{
    if (!statement)
        return failed();
    const int rc = sqlite3_step(statement);
    sqlite3_reset(statement);
    return rc == SQLITE_DONE || failed();
}

bool IdeaStore::batch(const std::function<bool()> &writes)
{
    if (m_batch)
        return writes();
    if (!run(m_db, "BEGIN IMMEDIATE"))
        return failed();
    m_batch.emplace();
    const bool written = writes() && (run(m_db, "COMMIT") || failed());
    if (!written)
        run(m_db, "ROLLBACK");
    const QList<std::function<void()>> announcements = std::move(*m_batch);
    m_batch.reset();
    if (written) {
        for (const auto &announce : announcements)
            announce();
    }
    return written;
}

void IdeaStore::announce(std::function<void()> signal)
{
    if (m_batch)
        m_batch->append(std::move(signal));
    else
        signal();
}

bool IdeaStore::failed()
{
    qWarning("IdeaStore: %s", sqlite3_errmsg(m_db));
    emit writeFailed(writeFailureMessage());
    return false;
}

QString IdeaStore::writeFailureMessage()
{
    return QStringLiteral("ما قدرنا نحفظ 😬 تأكد إن فيه مساحة على الجهاز وجرّب مرة ثانية");
}

bool IdeaStore::insert(Idea &idea)
{
    static const QByteArray sql = QByteArray("INSERT INTO Idea (") + columns
        + ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
    sqlite3_stmt *statement = prepared(InsertSlot, sql.constData());
    if (!statement)
        return failed();
    bindText(statement, 1, idea.idText());
    bindFields(statement, idea, 2);
    if (!exec(statement))
        return false;
    idea.m_recordId = sqlite3_last_insert_rowid(m_db);
    announce([this, idea] { emit inserted(idea); });
    return true;
}

IdeaStore::Write IdeaStore::changeOne(sqlite3_stmt *statement, const Idea &idea, int idIndex)
{
    if (!statement) {
        failed();
        return Write::failed;
    }
    bindText(statement, idIndex, idea.idText());
    sqlite3_bind_int64(statement, idIndex + 1, idea.m_recordId);
    if (!exec(statement))
        return Write::failed;
    return sqlite3_changes(m_db) == 1 ? Write::done : Write::gone;
}

IdeaStore::Write IdeaStore::update(const Idea &idea)
{
    if (!idea.isStored())
        return Write::gone;
    // The id never changes, so it is only matched, not written.
    sqlite3_stmt *statement = prepared(UpdateSlot,
        "UPDATE Idea SET title = ?, body = ?, category = ?, status = ?, hasReminder = ?, "
        "reminderDate = ?, isVoiceNote = ?, createdAt = ?, updatedAt = ? WHERE id = ? AND rowid = ?");
    if (statement)
        bindFields(statement, idea, 1);
    const Write result = changeOne(statement, idea, 10);
    if (result == Write::done)
        announce([this, idea] { emit updated(idea); });
    return result;
}

IdeaStore::Write IdeaStore::remove(const Idea &idea)
{
    if (!idea.isStored())
        return Write::gone;
    sqlite3_stmt *statement = prepared(DeleteSlot, "DELETE FROM Idea WHERE id = ? AND rowid = ?");
    const Write result = changeOne(statement, idea, 1);
    if (result == Write::done)
        announce([this, idea] { emit removed(idea); });
    return result;
}

QString IdeaStore::messageFor(Write result)
{
    switch (result) {
    case Write::done:
        return {};
    case Write::gone:
        return goneMessage();
    case Write::failed:
        break;
    }
    return writeFailureMessage();
}

QString IdeaStore::goneMessage()
{
    return QStringLiteral("هالفكرة انحذفت من قبل، ما عاد فيه شي نعدله 🤷");
}

Idea IdeaStore::readRow(sqlite3_stmt *statement)
{
    Idea idea{Idea::Stored{}};
    idea.m_recordId = sqlite3_column_int64(statement, 0);
    idea.id = QUuid::fromString(text(statement, 1));
    idea.title = text(statement, 2);
    idea.body = text(statement, 3);
    idea.category = text(statement, 4);
    idea.status = text(statement, 5);
    idea.hasReminder = sqlite3_column_int(statement, 6) != 0;
    if (sqlite3_column_type(statement, 7) != SQLITE_NULL)
        idea.reminderDate = dateFromMs(sqlite3_column_int64(statement, 7));
    idea.isVoiceNote = sqlite3_column_int(statement, 8) != 0;
    idea.createdAt = dateFromMs(sqlite3_column_int64(statement, 9));
    idea.updatedAt = dateFromMs(sqlite3_column_int64(statement, 10));
    return idea;
}

QList<Idea> IdeaStore::select(const char *sql) const
{
    QList<Idea> ideas;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr) != SQLITE_OK)
        return ideas;
    while (sqlite3_step(statement) == SQLITE_ROW)
        ideas.append(readRow(statement));
    sqlite3_finalize(statement);
    return ideas;
}

std::optional<Idea> IdeaStore::find(qint64 recordId, const QUuid &id) const
{
    static const QByteArray sql = QByteArray("SELECT rowid, ") + columns + " FROM Idea WHERE rowid = ? AND id = ?";
    sqlite3_stmt *statement = prepared(FindSlot, sql.constData());
    if (!statement)
        return std::nullopt;
    sqlite3_bind_int64(statement, 1, recordId);
    bindText(statement, 2, id.toString(QUuid::WithoutBraces).toUpper());
    std::optional<Idea> idea;
    if (sqlite3_step(statement) == SQLITE_ROW)
        idea = readRow(statement);
    sqlite3_reset(statement);
    return idea;
}

QList<Idea> IdeaStore::allIdeas() const
{
    static const QByteArray sql = QByteArray("SELECT rowid, ") + columns
        + " FROM Idea ORDER BY createdAt DESC, rowid DESC";
    return select(sql.constData());
}

QList<Idea> IdeaStore::newestActiveIdeas(int limit) const
{
    return page({QStringLiteral("active"), {}, false}, std::nullopt, limit);
}

namespace {

// The WHERE clause of a selection, with ?1 the status, ?2 the category and ?3 whether
// only ideas with a reminder count.
const char *const selectionClause =
    " WHERE status = ?1 AND (?2 = '' OR category = ?2) AND (?3 = 0 OR hasReminder != 0)";

void bindSelection(sqlite3_stmt *statement, const IdeaStore::Selection &selection)
{
    bindText(statement, 1, selection.status);
    bindText(statement, 2, selection.category);
    sqlite3_bind_int(statement, 3, selection.withReminder ? 1 : 0);
}

} // namespace

QList<Idea> IdeaStore::page(const Selection &selection, const std::optional<Idea> &after, int limit) const
{
    // With no index, SQLite would sort whole rows to find the newest. Ideas are mostly
    // stored in the order they were made, so the first `limit` rowids walking down are
    // nearly the answer: a second walk over the rest hands back only what is newer
    // than the oldest of those, and only the keepers are read whole.
    static const QByteArray scanSql = QByteArray("SELECT rowid, createdAt FROM Idea") + selectionClause
        + " AND (?4 IS NULL OR createdAt < ?4 OR (createdAt = ?4 AND rowid < ?5))"
          " AND (?6 IS NULL OR rowid < ?6) AND (?7 IS NULL OR createdAt > ?7 OR (createdAt = ?7 AND rowid > ?8))"
          " ORDER BY rowid DESC";
    static const QByteArray rowSql = QByteArray("SELECT rowid, ") + columns + " FROM Idea WHERE rowid = ?";
    QList<Idea> ideas;
    if (limit <= 0)
        return ideas;
    sqlite3_stmt *scan = nullptr;
    if (sqlite3_prepare_v2(m_db, scanSql.constData(), -1, &scan, nullptr) != SQLITE_OK)
        return ideas;
    bindSelection(scan, selection);
    if (after) {
        sqlite3_bind_int64(scan, 4, after->createdAt.toMSecsSinceEpoch());
        sqlite3_bind_int64(scan, 5, after->recordId());
    }

    NewestKeys newest(limit);
    qint64 lowestRowid = 0;
    while (!newest.full() && sqlite3_step(scan) == SQLITE_ROW) {
        lowestRowid = sqlite3_column_int64(scan, 0);
        newest.keep({sqlite3_column_int64(scan, 1), lowestRowid});
    }
    if (newest.full()) {
        sqlite3_reset(scan);
        sqlite3_bind_int64(scan, 6, lowestRowid);
        sqlite3_bind_int64(scan, 7, newest.oldest().first);
        sqlite3_bind_int64(scan, 8, newest.oldest().second);
        while (sqlite3_step(scan) == SQLITE_ROW)
            newest.keep({sqlite3_column_int64(scan, 1), sqlite3_column_int64(scan, 0)});
    }
    sqlite3_finalize(scan);
    const std::vector<NewestKeys::Key> keys = newest.takeNewestFirst();
    sqlite3_stmt *row = nullptr;
    if (sqlite3_prepare_v2(m_db, rowSql.constData(), -1, &row, nullptr) != SQLITE_OK)
        return ideas;
    ideas.reserve(qsizetype(keys.size()));
    for (const NewestKeys::Key &key : keys) {
        sqlite3_bind_int64(row, 1, key.second);
        if (sqlite3_step(row) == SQLITE_ROW)
            ideas.append(readRow(row));
        sqlite3_reset(row);
    }
    sqlite3_finalize(row);
    return ideas;
}

int IdeaStore::count(const Selection &selection) const
{
    static const QByteArray sql = QByteArray("SELECT count(*) FROM Idea") + selectionClause;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(m_db, sql.constData(), -1, &statement, nullptr) != SQLITE_OK)
        return 0;
    bindSelection(statement, selection);
    const int counted = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int(statement, 0) : 0;
    sqlite3_finalize(statement);
    return counted;
}

void IdeaStore::setShared(IdeaStore *store)
{
    sharedStore = store;
}

IdeaStore *IdeaStore::shared()
{
    return sharedStore;
}
