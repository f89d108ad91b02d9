#pragma once

#include "Idea.h"
#include "IdeaStore.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

// A live, newest-first list of the active or the done ideas, narrowed by one of the
// list's filter labels. It reads a screenful from the store and more as the view
// scrolls (fetchMore), follows the store's change signals row by row, and resets
// only on a change of scope or filter. A done list reads nothing until asked.
class IdeaListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Scope scope READ scope WRITE setScope NOTIFY scopeChanged)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    enum class Scope { active, done };
    Q_ENUM(Scope)

    enum Role {
        RecordIdRole = Qt::UserRole + 1,
        IdRole,
        TitleRole,
        BodyRole,
        CategoryRole,
        CategoryEmojiRole,
        StatusRole,
        HasReminderRole,
        ReminderDateRole,
        IsVoiceNoteRole,
        CreatedAtRole,
        UpdatedAtRole,
    };

    // Rows read when the list appears, and with each fetchMore after.
    static constexpr int firstPage = 60;
    static constexpr int laterPage = 300;

    // QML uses the shared store; tests hand in their own.
    explicit IdeaListModel(QObject *parent = nullptr);
    explicit IdeaListModel(IdeaStore *store, Scope scope = Scope::active, QObject *parent = nullptr);

    // "الكل" lets everything through, "لها موعد" the ideas with a reminder, and any
    // other label the ideas filed under exactly that word.
    static bool passes(const Idea &idea, const QString &filter);

    Scope scope() const { return m_scope; }
    void setScope(Scope scope);
    QString filter() const { return m_filter; }
    void setFilter(const QString &filter);

    const Idea &ideaAt(int row) const;
    // Every idea the list holds, read or not yet; counted in the store when first asked.
    int totalCount() const;
    // Whether every row has been read.
    bool isComplete() const { return m_complete; }

    int rowCount(const QModelIndex &parent = {}) const override;
    bool canFetchMore(const QModelIndex &parent = {}) const override;
    void fetchMore(const QModelIndex &parent = {}) override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void scopeChanged();
    void filterChanged();
    void countChanged();
    void completed();
    void totalCountChanged();

private:
    class Changing;

    IdeaStore::Selection selection() const;
    bool belongs(const Idea &idea) const;
    int rowFor(const Idea &idea) const;
    int rowOf(const Idea &idea) const;
    void reload();
    QList<Idea> next(int limit) const;
    void insert(const Idea &idea);
    void removeAt(int row);
    void onUpdated(const Idea &idea);
    void onRemoved(const Idea &idea);
    void addToTotal(int change);

    QPointer<IdeaStore> m_store;
    Scope m_scope = Scope::active;
    QString m_filter;
    // The rows read so far, newest first; the rest are all older than the last.
    QList<Idea> m_rows;
    bool m_complete = false;
    // -1 until asked for.
    mutable int m_total = -1;
    bool m_changing = false;
};
