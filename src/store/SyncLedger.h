#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QUuid>

#include <array>
#include <functional>
#include <memory>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

// What sync remembers beside the ideas store, never in it: the task list it mirrors, the
// list's sync token, and for each idea its resource on the server, that resource's ETag and
// the copy both sides last agreed on. A file of its own, `Sync.sqlite` beside the store,
// written in WAL with a full sync so that a crash at any moment leaves the last commit.
class SyncLedger
{
public:
    struct Entry
    {
        QUuid id;          // the idea's id
        QString href;      // the resource's path on the server
        QByteArray etag;
        QByteArray synced; // the iCalendar text both sides last agreed on
    };

    struct Opening
    {
        std::unique_ptr<SyncLedger> ledger;
        QString error; // why it could not be opened, when `ledger` is null
    };
    // Opens or creates the ledger at `path`; a file that is not a ledger is refused and left
    // as it was.
    static Opening open(const QString &path);
    // Sync.sqlite in the folder of the store at `storePath`.
    static QString pathBeside(const QString &storePath);

    ~SyncLedger();

    // The list being mirrored; changing it forgets every entry and the token.
    QString listUrl() const;
    bool setListUrl(const QString &url);
    QByteArray syncToken() const;
    bool setSyncToken(const QByteArray &token);

    QHash<QUuid, Entry> entries() const;
    std::optional<Entry> entry(const QUuid &id) const;
    bool put(const Entry &entry);
    bool remove(const QUuid &id);
    // Several changes in one transaction: all or none. `changes` returning false, or any
    // write in it failing, undoes them all. Called inside another transaction it joins
    // that one, and its failure undoes the outer one too.
    bool transaction(const std::function<bool()> &changes);
    // Forgets everything: the list, its token and every entry.
    bool clear();

private:
    enum Slot { GetValue, SetValue, ClearValues, AllEntries, OneEntry, PutEntry, RemoveEntry, ClearEntries, Slots };

    SyncLedger(sqlite3 *db, const std::array<sqlite3_stmt *, Slots> &statements);
    QByteArray value(const char *key) const;
    bool setValue(const char *key, const QByteArray &value);
    // Runs a write to completion; a failure is logged and spoils the open transaction.
    bool exec(Slot slot);
    bool failed();

    sqlite3 *m_db = nullptr;
    // Prepared once at opening; a statement is reset before each use.
    std::array<sqlite3_stmt *, Slots> m_statements{};
    bool m_inTransaction = false;
    bool m_spoiled = false;
};
