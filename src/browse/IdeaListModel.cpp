#include "IdeaListModel.h"

#include "IdeaStore.h"
#include "Vocabulary.h"

#include <algorithm>

namespace {

// Newest first; ideas created in the same millisecond keep the order they were stored in.
bool comesBefore(const Idea &a, const Idea &b)
{
    if (a.createdAt != b.createdAt)
        return a.createdAt > b.createdAt;
    return a.recordId() > b.recordId();
}

} // namespace

IdeaListModel::IdeaListModel(QObject *parent) : IdeaListModel(IdeaStore::shared(), parent)
{
}

IdeaListModel::IdeaListModel(IdeaStore *store, QObject *parent) : QAbstractListModel(parent), m_store(store)
{
    if (!m_store)
        return;
    connect(m_store, &IdeaStore::inserted, this, &IdeaListModel::onInserted);
    connect(m_store, &IdeaStore::updated, this, &IdeaListModel::onUpdated);
    connect(m_store, &IdeaStore::removed, this, &IdeaListModel::onRemoved);
    connect(this, &QAbstractItemModel::rowsInserted, this, &IdeaListModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &IdeaListModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &IdeaListModel::countChanged);
    reload();
}

void IdeaListModel::setScope(Scope scope)
{
    if (scope == m_scope)
        return;
    m_scope = scope;
    reload();
    emit scopeChanged();
}

bool IdeaListModel::includes(const Idea &idea) const
{
    switch (m_scope) {
    case Scope::all:
        return true;
    case Scope::active:
        return idea.status == Vocabulary::active();
    case Scope::done:
        return idea.status == Vocabulary::done();
    }
    return false;
}

void IdeaListModel::reload()
{
    beginResetModel();
    m_ideas.clear();
    if (m_store) {
        m_ideas = m_scope == Scope::active ? m_store->activeIdeas() : m_store->allIdeas();
        if (m_scope == Scope::done)
            m_ideas.removeIf([this](const Idea &idea) { return !includes(idea); });
    }
    endResetModel();
}

int IdeaListModel::rowFor(const Idea &idea) const
{
    return int(std::lower_bound(m_ideas.cbegin(), m_ideas.cend(), idea, comesBefore) - m_ideas.cbegin());
}

int IdeaListModel::rowOf(qint64 recordId) const
{
    const auto found = std::find_if(m_ideas.cbegin(), m_ideas.cend(),
                                    [recordId](const Idea &idea) { return idea.recordId() == recordId; });
    return found == m_ideas.cend() ? -1 : int(found - m_ideas.cbegin());
}

void IdeaListModel::onInserted(const Idea &idea)
{
    if (!includes(idea))
        return;
    const int row = rowFor(idea);
    beginInsertRows({}, row, row);
    m_ideas.insert(row, idea);
    endInsertRows();
}

void IdeaListModel::onUpdated(const Idea &idea)
{
    const int row = rowOf(idea.recordId());
    if (row < 0) {
        onInserted(idea);
        return;
    }
    if (!includes(idea)) {
        onRemoved(idea);
        return;
    }
    if (m_ideas.at(row).createdAt == idea.createdAt) {
        m_ideas[row] = idea;
        emit dataChanged(index(row), index(row));
        return;
    }
    beginRemoveRows({}, row, row);
    m_ideas.removeAt(row);
    endRemoveRows();
    onInserted(idea);
}

void IdeaListModel::onRemoved(const Idea &idea)
{
    const int row = rowOf(idea.recordId());
    if (row < 0)
        return;
    beginRemoveRows({}, row, row);
    m_ideas.removeAt(row);
    endRemoveRows();
}

int IdeaListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_ideas.size());
}

QVariant IdeaListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Idea &idea = m_ideas.at(index.row());
    switch (role) {
    case RecordIdRole:
        return idea.recordId();
    case IdRole:
        return idea.idText();
    case Qt::DisplayRole:
    case TitleRole:
        return idea.title;
    case BodyRole:
        return idea.body;
    case CategoryRole:
        return idea.category;
    case CategoryEmojiRole:
        return Vocabulary::emoji(idea.category);
    case StatusRole:
        return idea.status;
    case HasReminderRole:
        return idea.hasReminder;
    case ReminderDateRole:
        return idea.reminderDate ? QVariant(*idea.reminderDate) : QVariant();
    case IsVoiceNoteRole:
        return idea.isVoiceNote;
    case CreatedAtRole:
        return idea.createdAt;
    case UpdatedAtRole:
        return idea.updatedAt;
    }
    return {};
}

QHash<int, QByteArray> IdeaListModel::roleNames() const
{
    return {
        {RecordIdRole, "recordId"},
        {IdRole, "ideaId"},
        {TitleRole, "title"},
        {BodyRole, "body"},
        {CategoryRole, "category"},
        {CategoryEmojiRole, "categoryEmoji"},
        {StatusRole, "status"},
        {HasReminderRole, "hasReminder"},
        {ReminderDateRole, "reminderDate"},
        {IsVoiceNoteRole, "isVoiceNote"},
        {CreatedAtRole, "createdAt"},
        {UpdatedAtRole, "updatedAt"},
    };
}
