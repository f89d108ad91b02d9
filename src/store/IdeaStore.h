#pragma once

#include "Idea.h"

#include <QList>

#include <array>
#include <QObject>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>

struct sqlite3;
struct sqlite3_stmt;
class QJSEngine;
class QQmlEngine;

// The one owner of the ideas database. Every write is committed before the call
// returns; list models follow the change signals instead of re-reading.
class IdeaStore : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using Clock = std::function<QDateTime()>;

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
    void setClock(Clock clock) { m_clock = std::move(clock); }

    bool insert(Idea &idea);
    bool update(const Idea &idea);
    bool remove(const Idea &idea);
    // Completes or reopens, stamping `updatedAt`.
    bool toggleStatus(Idea &idea);

    std::optional<Idea> find(qint64 recordId) const;
    // Newest first by `createdAt`.
    QList<Idea> allIdeas() const;
    QList<Idea> activeIdeas() const;

    // The store QML sees: the one the application opened at start-up.
    static void setShared(IdeaStore *store);
    static IdeaStore *shared();
    static IdeaStore *create(QQmlEngine *, QJSEngine *);

    // Returns the new idea's id text, or "" when it could not be saved.
    Q_INVOKABLE QString addIdea(const QString &title, const QString &body, const QString &category,
                                bool hasReminder, const QVariant &reminderDate, bool isVoiceNote);
    Q_INVOKABLE bool toggleStatusOf(qint64 recordId);
    Q_INVOKABLE bool removeIdea(qint64 recordId);

    static QString writeFailureMessage();

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
    bool failed();

    sqlite3 *m_db = nullptr;
    QString m_path;
    Clock m_clock;
    mutable std::array<sqlite3_stmt *, 4> m_statements{};
};
