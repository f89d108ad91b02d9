#pragma once

#include "Idea.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class IdeaStore;

// A live, newest-first list of the active or the done ideas, narrowed by one of the
// list's filter labels. It reads the store once, then follows its change signals
// row by row; only a change of scope or filter resets it.
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

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void scopeChanged();
    void filterChanged();
    void countChanged();

private:
    bool inScope(const Idea &idea) const;
    bool filtered() const;
    int poolRowFor(const Idea &idea) const;
    int poolRowOf(const Idea &idea) const;
    // The view row a pool row has, or would have if it passed the filter.
    int viewRowFor(int poolRow) const;
    void reload();
    void refilter();
    void insert(const Idea &idea);
    void removeAt(int poolRow);
    void onUpdated(const Idea &idea);

    QPointer<IdeaStore> m_store;
    Scope m_scope = Scope::active;
    QString m_filter;
    // Every idea in scope, newest first; when a filter narrows them, the pool rows shown.
    QList<Idea> m_pool;
    QList<int> m_shown;
};
