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

// Marks a change under way, announcements included: a view that asks for more rows
// while hearing of one must wait for the next time it looks.
class IdeaListModel::Changing
{
public:
    explicit Changing(IdeaListModel &model) : m_model(model) { m_model.m_changing = true; }
    ~Changing() { m_model.m_changing = false; }

private:
    IdeaListModel &m_model;
};

IdeaListModel::IdeaListModel(IdeaStore *store, Scope scope, QObject *parent)
    : QAbstractListModel(parent), m_store(store), m_scope(scope)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &IdeaListModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &IdeaListModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &IdeaListModel::countChanged);
    if (!m_store) {
        m_complete = true;
        return;
    }
    connect(m_store, &IdeaStore::inserted, this, [this](const Idea &idea) {
        if (belongs(idea)) {
            addToTotal(1);
            insert(idea);
        }
    });
    connect(m_store, &IdeaStore::updated, this, &IdeaListModel::onUpdated);
    connect(m_store, &IdeaStore::removed, this, &IdeaListModel::onRemoved);
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
    const IdeaStore::Selection before = selection();
    m_filter = filter;
    const IdeaStore::Selection after = selection();
    // "الكل" and no filter at all read the same rows.
    if (after.category != before.category || after.withReminder != before.withReminder)
        reload();
    emit filterChanged();
}

IdeaStore::Selection IdeaListModel::selection() const
{
    IdeaStore::Selection selection;
    selection.status = m_scope == Scope::active ? Vocabulary::active() : Vocabulary::done();
    if (m_filter == Vocabulary::reminderFilter())
        selection.withReminder = true;
    else if (!m_filter.isEmpty() && m_filter != Vocabulary::allFilter())
        selection.category = m_filter;
    return selection;
}

bool IdeaListModel::belongs(const Idea &idea) const
{
    return idea.status == (m_scope == Scope::active ? Vocabulary::active() : Vocabulary::done())
        && passes(idea, m_filter);
}

void IdeaListModel::reload()
{
    const Changing changing(*this);
    beginResetModel();
    m_rows.clear();
    m_complete = !m_store;
    m_total = -1;
    // The done ideas sit folded away under their header until someone opens it.
    if (m_store && m_scope == Scope::active) {
        m_rows = next(firstPage);
        m_complete = m_rows.size() < firstPage;
    }
    endResetModel();
    emit totalCountChanged();
}

QList<Idea> IdeaListModel::next(int limit) const
{
    return m_store->page(selection(), m_rows.isEmpty() ? std::nullopt : std::optional(m_rows.constLast()), limit);
}

bool IdeaListModel::canFetchMore(const QModelIndex &parent) const
{
    return !parent.isValid() && !m_complete && !m_changing;
}

void IdeaListModel::fetchMore(const QModelIndex &parent)
{
    if (!canFetchMore(parent))
        return;
    const int limit = m_rows.isEmpty() ? firstPage : laterPage;
    QList<Idea> more = next(limit);
    m_complete = more.size() < limit;
    if (!more.isEmpty()) {
        const Changing changing(*this);
        const int first = int(m_rows.size());
        beginInsertRows({}, first, first + int(more.size()) - 1);
        m_rows.append(std::move(more));
        endInsertRows();
    }
    if (m_complete)
        emit completed();
}

int IdeaListModel::totalCount() const
{
    if (m_total < 0)
        m_total = m_complete ? int(m_rows.size()) : (m_store ? m_store->count(selection()) : 0);
    return m_total;
}

void IdeaListModel::addToTotal(int change)
{
    if (m_total < 0)
        return;
    m_total += change;
    emit totalCountChanged();
}

int IdeaListModel::rowFor(const Idea &idea) const
{
    return int(std::lower_bound(m_rows.cbegin(), m_rows.cend(), idea, comesBefore) - m_rows.cbegin());
}

int IdeaListModel::rowOf(const Idea &idea) const
{
    // Creation times never change, so the record is almost always where its copy would go.
    const int guess = rowFor(idea);
    if (guess < m_rows.size() && m_rows.at(guess).recordId() == idea.recordId())
        return guess;
    const auto found = std::find(m_rows.cbegin(), m_rows.cend(), idea);
    return found == m_rows.cend() ? -1 : int(found - m_rows.cbegin());
}

const Idea &IdeaListModel::ideaAt(int row) const
{
    return m_rows.at(row);
}

void IdeaListModel::insert(const Idea &idea)
{
    const int row = rowFor(idea);
    // Older than everything read so far: it comes with a later page.
    if (row == m_rows.size() && !m_complete)
        return;
    const Changing changing(*this);
    beginInsertRows({}, row, row);
    m_rows.insert(row, idea);
    endInsertRows();
}

void IdeaListModel::removeAt(int row)
{
    const Changing changing(*this);
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

void IdeaListModel::onRemoved(const Idea &idea)
{
    if (const int row = rowOf(idea); row >= 0) {
        removeAt(row);
        addToTotal(-1);
    } else if (!m_complete && belongs(idea)) {
        addToTotal(-1);
    }
}

void IdeaListModel::onUpdated(const Idea &idea)
{
    const int row = rowOf(idea);
    if (row < 0) {
        if (!belongs(idea))
            return;
        // Not read yet: it may have been here all along, or only now have come in.
        if (m_complete) {
            addToTotal(1);
        } else if (m_total >= 0) {
            m_total = -1;
            emit totalCountChanged();
        }
        insert(idea);
        return;
    }
    const Idea &old = m_rows.at(row);
    if (!belongs(idea) || old.createdAt != idea.createdAt) {
        removeAt(row);
        if (belongs(idea)) {
            insert(idea);
        } else {
            addToTotal(-1);
        }
        return;
    }
    m_rows[row] = idea;
    const QModelIndex changed = index(row);
    emit dataChanged(changed, changed);
}

int IdeaListModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return int(m_rows.size());
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
