#pragma once

#include "Idea.h"

#include <QList>
#include <QObject>

#include <array>
#include <functional>
#include <memory>

struct sqlite3;
struct sqlite3_stmt;

// The one owner of the ideas database. Every write is committed before the call
// returns; list models follow the change signals instead of re-reading.
class IdeaStore : public QObject
{
    Q_OBJECT

public:
    struct Opening
    {
        std::unique_ptr<IdeaStore> store;
        QString error; // why it could not be opened, when `store` is null
    };

    // Opens or creates the database at `path`. A file that is not ours, or that
    // this version cannot read, is refused and left exactly as it was.
    static Opening open(const QString &path);
    // Where the store lives: $XDG_DATA_HOME/Fikranest/Fikranest.sqlite.
    static QString defaultPath();

    ~IdeaStore() override;

    QString path() const { return m_path; }

    // How a write to an existing record went.
    enum class Write { done, gone, failed };

    bool insert(Idea &idea);
    // A record is addressed by its row and its id together, so a stale copy of a
    // deleted idea can never land on a newer one that reuses the row.
    Write update(const Idea &idea);
    Write remove(const Idea &idea);
    // Several writes in one commit: all of them or none. Their signals follow the commit,
    // so no list shows what a rolled-back batch never stored.
    bool batch(const std::function<bool()> &writes);
    // What to tell the user when a write did not happen; "" when it did.
    static QString messageFor(Write result);

    std::optional<Idea> find(qint64 recordId, const QUuid &id) const;
    // Newest first by `createdAt`.
    QList<Idea> allIdeas() const;
    // The `limit` newest active ideas, without reading the rest.
    QList<Idea> newestActiveIdeas(int limit) const;

    // Which ideas a list shows: one status, and maybe one category or only those with
    // a reminder.
    struct Selection
    {
        QString status;
        QString category; // empty: any
        bool withReminder = false;
    };
    // Up to `limit` of the selected ideas, newest first, from just after `after` on.
    // With no index to lean on, each call walks the table once, whatever the limit.
    QList<Idea> page(const Selection &selection, const std::optional<Idea> &after, int limit) const;
    int count(const Selection &selection) const;

    // The one the application opened at start-up, which the screens' models use.
    static void setShared(IdeaStore *store);
    static IdeaStore *shared();

    static QString writeFailureMessage();
    static QString goneMessage();

signals:
    void inserted(const Idea &idea);
    void updated(const Idea &idea);
    void removed(const Idea &idea);
    void writeFailed(const QString &message);

private:
    IdeaStore(sqlite3 *db, const QString &path);

    static Idea readRow(sqlite3_stmt *statement);
    QList<Idea> select(const char *sql) const;
    sqlite3_stmt *prepared(int slot, const char *sql) const;
    bool exec(sqlite3_stmt *statement);
    Write changeOne(sqlite3_stmt *statement, const Idea &idea, int idIndex);
    bool failed();
    void announce(std::function<void()> signal);

    sqlite3 *m_db = nullptr;
    QString m_path;
    mutable std::array<sqlite3_stmt *, 4> m_statements{};
    std::optional<QList<std::function<void()>>> m_batch;
};
