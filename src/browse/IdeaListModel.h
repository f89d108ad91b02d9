#pragma once

#include "Idea.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class IdeaStore;

// A live, newest-first list over the store: it reads once, then follows the
// store's change signals row by row.
class IdeaListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Scope scope READ scope WRITE setScope NOTIFY scopeChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    enum class Scope { all, active, done };
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
    explicit IdeaListModel(IdeaStore *store, QObject *parent = nullptr);

    Scope scope() const { return m_scope; }
    void setScope(Scope scope);

    const Idea &ideaAt(int row) const { return m_ideas.at(row); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void scopeChanged();
    void countChanged();

private:
    bool includes(const Idea &idea) const;
    // Where the idea belongs in newest-first order.
    int rowFor(const Idea &idea) const;
    int rowOf(qint64 recordId) const;
    void reload();
    void onInserted(const Idea &idea);
    void onUpdated(const Idea &idea);
    void onRemoved(const Idea &idea);

    QPointer<IdeaStore> m_store;
    Scope m_scope = Scope::all;
    QList<Idea> m_ideas;
};
