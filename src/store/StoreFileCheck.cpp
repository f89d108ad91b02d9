#include "StoreFileCheck.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <sqlite3.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

QString StoreFileCheck::sqliteError(sqlite3 *db)
{
    return QString::fromUtf8(sqlite3_errmsg(db));
}

namespace {

// No column is unique or indexed. The record's identity is its rowid, which the table
// is never vacuumed to renumber; SQLite hands a deleted row's rowid to the next insert,
// so every write matches the random `id` as well.
const char *const ideaSchema = R"(CREATE TABLE Idea (
    id TEXT NOT NULL,
    title TEXT NOT NULL DEFAULT '',
    body TEXT NOT NULL DEFAULT '',
    category TEXT NOT NULL DEFAULT 'فكرة',
    status TEXT NOT NULL DEFAULT 'active',
    hasReminder INTEGER NOT NULL DEFAULT 0,
    reminderDate INTEGER,
    isVoiceNote INTEGER NOT NULL DEFAULT 0,
    createdAt INTEGER NOT NULL,
    updatedAt INTEGER NOT NULL))";

// A single integer from a pragma or query, or nullopt when the read fails.
std::optional<qint64> queryInt(sqlite3 *db, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK)
        return std::nullopt;
    std::optional<qint64> value;
    if (sqlite3_step(statement) == SQLITE_ROW)
        value = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return value;
}

// Every object of the schema with every column of every table, as one list of rows
// in a fixed order; the statements' own text is left out, so spacing does not count.
std::optional<QStringList> schemaShape(sqlite3 *db)
{
    static const char *const sql = R"(
        SELECT m.type, m.name, m.tbl_name, c.cid, c.name, c.type, c."notnull", c.dflt_value, c.pk, c.hidden
        FROM sqlite_schema AS m LEFT JOIN pragma_table_xinfo(m.name) AS c ON m.type = 'table'
        ORDER BY m.type, m.name, c.cid)";
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK)
        return std::nullopt;
    QStringList rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        QStringList row;
        for (int column = 0; column < sqlite3_column_count(statement); ++column)
            row << (sqlite3_column_type(statement, column) == SQLITE_NULL
                        ? QStringLiteral("\\N")
                        : QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(statement, column))));
        rows << row.join(QChar(0x1f));
    }
    const bool read = sqlite3_finalize(statement) == SQLITE_OK;
    return read ? std::optional(rows) : std::nullopt;
}

// What the identity's statements make, in a database that lives only in memory.
std::optional<QStringList> expectedShape(const StoreFileCheck::Identity &identity)
{
    sqlite3 *db = nullptr;
    std::optional<QStringList> shape;
    if (sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, nullptr) == SQLITE_OK
        && sqlite3_exec(db, identity.schema, nullptr, nullptr, nullptr) == SQLITE_OK)
        shape = schemaShape(db);
    sqlite3_close_v2(db);
    return shape;
}

QString checkSchema(sqlite3 *db, const StoreFileCheck::Identity &identity)
{
    const auto found = schemaShape(db);
    if (!found)
        return StoreFileCheck::sqliteError(db);
    const auto expected = expectedShape(identity);
    if (!expected)
        return QStringLiteral("out of memory");
    return *found == *expected
        ? QString()
        : QStringLiteral("its tables are not the ones Fikranest makes (something was added to them or changed)");
}

// Checks an opened file without writing to it. Returns the reason it cannot be
// used, or "" when it is usable; `empty` tells whether the schema must be made.
QString inspect(sqlite3 *db, const StoreFileCheck::Identity &identity, bool *empty)
{
    const auto tables = queryInt(db, "SELECT count(*) FROM sqlite_master");
    if (!tables)
        return StoreFileCheck::sqliteError(db);
    const auto appId = queryInt(db, "PRAGMA application_id");
    const auto version = queryInt(db, "PRAGMA user_version");
    if (!appId || !version)
        return StoreFileCheck::sqliteError(db);
    *empty = *tables == 0;
    if (*empty)
        return {};
    if (*appId != identity.applicationId)
        return QStringLiteral("it is another program's database, not %1").arg(QLatin1StringView(identity.name));
    if (*version > identity.schemaVersion)
        return QStringLiteral("it was written by a newer version of Fikranest");
    return checkSchema(db, identity);
}

// Root passes every access check, so for root the owner's bits alone say whether
// the file was meant to be read or written.
bool permitted(const QByteArray &path, const struct stat &target, int access)
{
    if (::geteuid() == 0)
        return (target.st_mode & (access == R_OK ? S_IRUSR : S_IWUSR)) != 0;
    return ::faccessat(AT_FDCWD, path.constData(), access, AT_EACCESS) == 0;
}

// Judged from the directory entry alone, before SQLite opens it: a FIFO would block
// the open, and SQLite's own words for these name the wrong cause.
QString refusalByKind(const QString &path, const struct stat &link, struct stat *target)
{
    const QByteArray nativePath = QFile::encodeName(path);
    if (::stat(nativePath.constData(), target) != 0) {
        if (S_ISLNK(link.st_mode) && errno == ENOENT)
            return QStringLiteral("it is a symbolic link to %1, which does not exist")
                .arg(QFileInfo(path).symLinkTarget());
        return QString::fromLocal8Bit(strerror(errno));
    }
    const mode_t type = target->st_mode & S_IFMT;
    if (type == S_IFDIR)
        return QStringLiteral("it is a folder, not a file");
    if (type == S_IFIFO)
        return QStringLiteral("it is a named pipe (FIFO), not a file");
    if (type == S_IFCHR || type == S_IFBLK)
        return QStringLiteral("it is a device, not a file");
    if (type == S_IFSOCK)
        return QStringLiteral("it is a socket, not a file");
    if (type != S_IFREG)
        return QStringLiteral("it is not a regular file");
    if (!permitted(nativePath, *target, R_OK))
        return QStringLiteral("there is no permission to read it");
    if (!permitted(nativePath, *target, W_OK))
        return QStringLiteral("it is read-only");
    return {};
}

quint32 bigEndian(const QByteArray &bytes, int at, int size)
{
    quint32 value = 0;
    for (int i = 0; i < size; ++i)
        value = value << 8 | quint8(bytes[at + i]);
    return value;
}

// Judged from the file's first 100 bytes, which say how big it should be. A journal
// beside it may hold pages the file itself does not have yet.
QString refusalByHeader(const QString &path, qint64 size, bool journalled)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    const QByteArray header = file.read(100);
    static const QByteArray magic("SQLite format 3", 16);
    if (!header.startsWith(magic))
        return QStringLiteral("it is not a database");
    const QString cutShort = QStringLiteral("it is cut short: part of the database is missing");
    if (header.size() < 100)
        return cutShort;
    const quint32 pageSize = bigEndian(header, 16, 2) == 1 ? 65536 : bigEndian(header, 16, 2);
    if (pageSize < 512 || pageSize > 65536 || (pageSize & (pageSize - 1)) != 0)
        return QStringLiteral("it is not a database");
    if (journalled)
        return {};
    // The page count is only trusted when its version stamp matches the change counter.
    const bool countValid = bigEndian(header, 24, 4) == bigEndian(header, 92, 4) && bigEndian(header, 28, 4) != 0;
    if (size % pageSize != 0 || (countValid && qint64(bigEndian(header, 28, 4)) * pageSize > size))
        return cutShort;
    return {};
}

// Reads the file with SQLite without writing to it or beside it. With no journal
// beside it the file is the whole store, and SQLite reads it as unchangeable, with
// no locks and no journal files; otherwise a read-only connection reads the journal
// too, and a shared-memory file it had to make is taken away again on refusal.
QString refusalByContents(const QString &path, qint64 size, const StoreFileCheck::Identity &identity, bool *empty)
{
    const QString walPath = path + QStringLiteral("-wal");
    const QString shmPath = path + QStringLiteral("-shm");
    const bool journalled = QFileInfo(walPath).size() > 0;
    if (QString reason = refusalByHeader(path, size, journalled); !reason.isEmpty())
        return reason;
    const bool hadShm = QFileInfo::exists(shmPath);
    const QByteArray uri = "file:" + QUrl::toPercentEncoding(QFileInfo(path).absoluteFilePath(), "/")
        + (journalled ? "?mode=ro" : "?mode=ro&immutable=1");
    sqlite3 *db = nullptr;
    QString reason;
    if (sqlite3_open_v2(uri.constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr)
        != SQLITE_OK)
        reason = db ? StoreFileCheck::sqliteError(db) : QStringLiteral("out of memory");
    else
        reason = inspect(db, identity, empty);
    sqlite3_close_v2(db);
    if (!reason.isEmpty() && !hadShm)
        QFile::remove(shmPath);
    return reason;
}

} // namespace

StoreFileCheck::Identity StoreFileCheck::storeIdentity()
{
    return {applicationId, schemaVersion, "a Fikranest store", ideaSchema};
}

StoreFileCheck::Target StoreFileCheck::prepare(const QString &path, const Identity &identity)
{
    Target target;
    const QFileInfo info(path);
    const QString folder = info.absolutePath();
    if (!QFileInfo(folder).isDir() && !QDir().mkpath(folder)) {
        target.refusal = QStringLiteral("cannot create the folder %1").arg(folder);
        return target;
    }

    // Created here rather than by SQLite so that it, and the journal files that copy
    // its mode, are private to the user from the first byte.
    target.nativePath = QFile::encodeName(path);
    struct stat link{};
    if (::lstat(target.nativePath.constData(), &link) != 0) {
        const int fd = ::open(target.nativePath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) {
            target.refusal = QString::fromLocal8Bit(strerror(errno));
            return target;
        }
        ::close(fd);
        target.created = true;
    } else {
        struct stat file{};
        target.refusal = refusalByKind(path, link, &file);
        if (!target.refusal.isEmpty())
            return target;
        // SQLite keeps the journal beside the file a link points to.
        const QString canonical = info.canonicalFilePath();
        target.empty = file.st_size == 0;
        if (!target.empty)
            target.refusal = refusalByContents(canonical, file.st_size, identity, &target.empty);
        if (!target.refusal.isEmpty())
            return target;
        target.nativePath = QFile::encodeName(canonical);
    }

    // Private whatever they were before: the folder, the file, and below its journal.
    ::chmod(QFile::encodeName(folder).constData(), 0700);
    ::chmod(target.nativePath.constData(), 0600);
    return target;
}
