#pragma once

#include <QByteArray>
#include <QString>

struct sqlite3;

// What tells a file that is ours from one that is not, judged without writing a byte
// to it or beside it, so a refused file is left exactly as it was.
namespace StoreFileCheck {

// "Fkrn": marks the file as ours, so a stranger's database is never written to.
constexpr int applicationId = 0x466B726E;
// Schema 1.0.0 as major * 10000 + minor * 100 + patch.
constexpr int schemaVersion = 10000;

struct Target
{
    QByteArray nativePath; // the file itself, a symbolic link followed
    bool created = false;  // made just now, empty and private
    bool empty = true;     // the schema is still to be made
    QString refusal;       // why it cannot be ours; "" when it can
};

// What a database of ours carries: its marks, and the statements that make its schema.
// A file holding anything those statements do not make (a trigger, a view, an index,
// another table or column) is refused, so nothing planted there runs on our writes.
struct Identity
{
    int applicationId;
    int schemaVersion;
    const char *name;   // for a refusal: "a Fikranest store"
    const char *schema; // CREATE statements, separated by semicolons
};
// The ideas store's.
Identity storeIdentity();

// Looks at what is at `path`, making an empty private file when there is nothing,
// and makes the folder and the file private to the user when they are usable.
Target prepare(const QString &path, const Identity &identity = storeIdentity());

QString sqliteError(sqlite3 *db);

} // namespace StoreFileCheck
