#include "IdeaFeedModel.h"

#include "IdeaListModel.h"

#include <utility>

IdeaFeedModel::IdeaFeedModel(IdeaListModel *active, IdeaListModel *done, QObject *parent)
    : QAbstractListModel(parent), m_active(active), m_done(done)
{
    follow(active, false);
    follow(done, true);
    connect(active, &IdeaListModel::completed, this, &IdeaFeedModel::updateHeader);
    connect(done, &IdeaListModel::totalCountChanged, this, &IdeaFeedModel::updateHeader);
    m_headerShown = headerWanted();
}

int IdeaFeedModel::activeCount() const
{
    return m_active ? m_active->rowCount() : 0;
}

int IdeaFeedModel::doneRows() const
{
    return m_headerShown && m_expanded && m_done ? m_done->rowCount() : 0;
}

bool IdeaFeedModel::headerWanted() const
{
    return m_active && m_done && m_active->isComplete() && m_done->totalCount() > 0;
}

// The header comes once every active idea is in and something is done, and goes with
// the last done idea; its count follows the store.
void IdeaFeedModel::updateHeader()
{
    const bool wanted = headerWanted();
    const int header = headerRow();
    if (wanted == m_headerShown) {
        if (m_headerShown)
            emit dataChanged(index(header), index(header), {DoneCountRole});
        return;
    }
    const int rows = m_expanded && m_done ? m_done->rowCount() : 0;
    if (wanted) {
        beginInsertRows({}, header, header + rows);
        m_headerShown = true;
        endInsertRows();
    } else {
        beginRemoveRows({}, header, header + rows);
        m_headerShown = false;
        endRemoveRows();
    }
}

void IdeaFeedModel::follow(IdeaListModel *source, bool isDone)
{
    using M = QAbstractItemModel;
    connect(source, &M::modelAboutToBeReset, this, &IdeaFeedModel::beginResetModel);
    connect(source, &M::modelReset, this, [this] {
        m_headerShown = headerWanted();
        endResetModel();
    });
    if (!isDone) {
        connect(source, &M::rowsAboutToBeInserted, this,
                [this](const QModelIndex &, int first, int last) { beginInsertRows({}, first, last); });
        connect(source, &M::rowsInserted, this, &IdeaFeedModel::endInsertRows);
        connect(source, &M::rowsAboutToBeRemoved, this,
                [this](const QModelIndex &, int first, int last) { beginRemoveRows({}, first, last); });
        connect(source, &M::rowsRemoved, this, &IdeaFeedModel::endRemoveRows);
        connect(source, &M::dataChanged, this,
                [this](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
                    emit dataChanged(index(from.row()), index(to.row()), roles);
                });
        return;
    }
    // Done rows are only passed on while they are on show under the header.
    connect(source, &M::rowsAboutToBeInserted, this, [this](const QModelIndex &, int first, int last) {
        m_changeOpen = m_headerShown && m_expanded;
        if (m_changeOpen)
            beginInsertRows({}, headerRow() + 1 + first, headerRow() + 1 + last);
    });
    connect(source, &M::rowsInserted, this, [this] {
        if (std::exchange(m_changeOpen, false))
            endInsertRows();
    });
    connect(source, &M::rowsAboutToBeRemoved, this, [this](const QModelIndex &, int first, int last) {
        m_changeOpen = m_headerShown && m_expanded;
        if (m_changeOpen)
            beginRemoveRows({}, headerRow() + 1 + first, headerRow() + 1 + last);
    });
    connect(source, &M::rowsRemoved, this, [this] {
        if (std::exchange(m_changeOpen, false))
            endRemoveRows();
    });
    connect(source, &M::dataChanged, this,
            [this](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
                if (m_headerShown && m_expanded)
                    emit dataChanged(index(headerRow() + 1 + from.row()), index(headerRow() + 1 + to.row()), roles);
            });
}

void IdeaFeedModel::setExpanded(bool expanded)
{
    if (expanded == m_expanded)
        return;
    const int count = m_headerShown && m_done ? m_done->rowCount() : 0;
    const int first = headerRow() + 1;
    if (count > 0) {
        if (expanded)
            beginInsertRows({}, first, first + count - 1);
        else
            beginRemoveRows({}, first, first + count - 1);
    }
    m_expanded = expanded;
    if (count > 0) {
        if (expanded)
            endInsertRows();
        else
            endRemoveRows();
    }
    // Opened for the first time: its first page, straight away.
    if (expanded && m_headerShown && m_done && m_done->rowCount() == 0)
        m_done->fetchMore();
    emit expandedChanged();
}

bool IdeaFeedModel::canFetchMore(const QModelIndex &parent) const
{
    if (parent.isValid() || !m_active || !m_done)
        return false;
    return m_active->canFetchMore() || (m_headerShown && m_expanded && m_done->canFetchMore());
}

void IdeaFeedModel::fetchMore(const QModelIndex &parent)
{
    if (!canFetchMore(parent))
        return;
    if (m_active->canFetchMore())
        m_active->fetchMore();
    else
        m_done->fetchMore();
}

int IdeaFeedModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return activeCount() + (m_headerShown ? 1 + doneRows() : 0);
}

QVariant IdeaFeedModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const int row = index.row();
    const int header = headerRow();
    switch (role) {
    case KindRole:
        return row == header ? QStringLiteral("doneHeader") : QStringLiteral("idea");
    case IsDoneRole:
        return row >= header;
    case DoneCountRole:
        return m_done ? m_done->totalCount() : 0;
    }
    if (row < header)
        return m_active->data(m_active->index(row), role);
    if (row > header)
        return m_done->data(m_done->index(row - header - 1), role);
    return {};
}

QHash<int, QByteArray> IdeaFeedModel::roleNames() const
{
    QHash<int, QByteArray> names = m_active ? m_active->roleNames() : QHash<int, QByteArray>();
    names.insert(KindRole, "kind");
    names.insert(IsDoneRole, "isDone");
    names.insert(DoneCountRole, "doneCount");
    return names;
}
