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

IdeaListModel::IdeaListModel(QObject *parent) : IdeaListModel(IdeaStore::shared(), Scope::active, parent)
{
}

IdeaListModel::IdeaListModel(IdeaStore *store, Scope scope, QObject *parent)
    : QAbstractListModel(parent), m_store(store), m_scope(scope)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &IdeaListModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &IdeaListModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &IdeaListModel::countChanged);
    if (!m_store)
        return;
    connect(m_store, &IdeaStore::inserted, this, &IdeaListModel::insert);
    connect(m_store, &IdeaStore::updated, this, &IdeaListModel::onUpdated);
    connect(m_store, &IdeaStore::removed, this, [this](const Idea &idea) {
        if (const int row = poolRowOf(idea); row >= 0)
            removeAt(row);
    });
    reload();
}

bool IdeaListModel::passes(const Idea &idea, const QString &filter)
{
    if (filter.isEmpty() || filter == Vocabulary::allFilter())
        return true;
    if (filter == Vocabulary::reminderFilter())
        return idea.hasReminder;
    return idea.category == filter;
}

void IdeaListModel::setScope(Scope scope)
{
    if (scope == m_scope)
        return;
    m_scope = scope;
    reload();
    emit scopeChanged();
}

void IdeaListModel::setFilter(const QString &filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    beginResetModel();
    refilter();
    endResetModel();
    emit filterChanged();
}

bool IdeaListModel::inScope(const Idea &idea) const
{
    return idea.status == (m_scope == Scope::active ? Vocabulary::active() : Vocabulary::done());
}

bool IdeaListModel::filtered() const
{
    return !m_filter.isEmpty() && m_filter != Vocabulary::allFilter();
}

void IdeaListModel::reload()
{
    beginResetModel();
    m_pool.clear();
    if (m_store)
        m_pool = m_scope == Scope::active ? m_store->activeIdeas() : m_store->doneIdeas();
    refilter();
    endResetModel();
}

void IdeaListModel::refilter()
{
    m_shown.clear();
    if (!filtered())
        return;
    for (int row = 0; row < m_pool.size(); ++row) {
        if (passes(m_pool.at(row), m_filter))
            m_shown.append(row);
    }
}

int IdeaListModel::poolRowFor(const Idea &idea) const
{
    return int(std::lower_bound(m_pool.cbegin(), m_pool.cend(), idea, comesBefore) - m_pool.cbegin());
}

int IdeaListModel::poolRowOf(const Idea &idea) const
{
    // Creation times never change, so the record is almost always where its copy would go.
    const int guess = poolRowFor(idea);
    if (guess < m_pool.size() && m_pool.at(guess).recordId() == idea.recordId())
        return guess;
    const auto found = std::find(m_pool.cbegin(), m_pool.cend(), idea);
    return found == m_pool.cend() ? -1 : int(found - m_pool.cbegin());
}

int IdeaListModel::viewRowFor(int poolRow) const
{
    if (!filtered())
        return poolRow;
    return int(std::lower_bound(m_shown.cbegin(), m_shown.cend(), poolRow) - m_shown.cbegin());
}

const Idea &IdeaListModel::ideaAt(int row) const
{
    return m_pool.at(filtered() ? m_shown.at(row) : row);
}

void IdeaListModel::insert(const Idea &idea)
{
    if (!inScope(idea))
        return;
    const int poolRow = poolRowFor(idea);
    const int viewRow = viewRowFor(poolRow);
    const bool shown = passes(idea, m_filter);
    if (shown)
        beginInsertRows({}, viewRow, viewRow);
    m_pool.insert(poolRow, idea);
    if (filtered()) {
        for (int i = viewRow; i < m_shown.size(); ++i)
            ++m_shown[i];
        if (shown)
            m_shown.insert(viewRow, poolRow);
    }
    if (shown)
        endInsertRows();
}

void IdeaListModel::removeAt(int poolRow)
{
    const int viewRow = viewRowFor(poolRow);
    const bool shown = !filtered() || (viewRow < m_shown.size() && m_shown.at(viewRow) == poolRow);
    if (shown)
        beginRemoveRows({}, viewRow, viewRow);
    m_pool.removeAt(poolRow);
    if (filtered()) {
        if (shown)
            m_shown.removeAt(viewRow);
        for (int i = viewRow; i < m_shown.size(); ++i)
            --m_shown[i];
    }
    if (shown)
        endRemoveRows();
}

void IdeaListModel::onUpdated(const Idea &idea)
{
    const int poolRow = poolRowOf(idea);
    if (poolRow < 0) {
        insert(idea);
        return;
    }
    const Idea &old = m_pool.at(poolRow);
    if (!inScope(idea) || old.createdAt != idea.createdAt || passes(old, m_filter) != passes(idea, m_filter)) {
        removeAt(poolRow);
        insert(idea);
        return;
    }
    m_pool[poolRow] = idea;
    if (passes(idea, m_filter)) {
        const QModelIndex changed = index(viewRowFor(poolRow));
        emit dataChanged(changed, changed);
    }
}

int IdeaListModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return int(filtered() ? m_shown.size() : m_pool.size());
}

QVariant IdeaListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Idea &idea = ideaAt(index.row());
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
