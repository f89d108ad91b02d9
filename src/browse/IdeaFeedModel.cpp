#include "IdeaFeedModel.h"

#include "IdeaListModel.h"

#include <utility>

IdeaFeedModel::IdeaFeedModel(IdeaListModel *active, IdeaListModel *done, QObject *parent)
    : QAbstractListModel(parent), m_active(active), m_done(done)
{
    follow(active, false);
    follow(done, true);
}

int IdeaFeedModel::activeCount() const
{
    return m_active ? m_active->rowCount() : 0;
}

int IdeaFeedModel::doneCount() const
{
    return m_done ? m_done->rowCount() : 0;
}

void IdeaFeedModel::follow(IdeaListModel *source, bool isDone)
{
    using M = QAbstractItemModel;
    connect(source, &M::modelAboutToBeReset, this, &IdeaFeedModel::beginResetModel);
    connect(source, &M::modelReset, this, &IdeaFeedModel::endResetModel);

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

    // The header row comes with the first done idea and goes with the last one.
    const auto headerChanged = [this] {
        if (doneCount() > 0)
            emit dataChanged(index(headerRow()), index(headerRow()), {DoneCountRole});
    };
    connect(source, &M::rowsAboutToBeInserted, this, [this](const QModelIndex &, int first, int last) {
        const int header = headerRow();
        m_changeOpen = true;
        if (doneCount() == 0)
            beginInsertRows({}, header, m_expanded ? header + 1 + last - first : header);
        else if (m_expanded)
            beginInsertRows({}, header + 1 + first, header + 1 + last);
        else
            m_changeOpen = false;
    });
    connect(source, &M::rowsInserted, this, [this, headerChanged] {
        if (std::exchange(m_changeOpen, false))
            endInsertRows();
        headerChanged();
    });
    connect(source, &M::rowsAboutToBeRemoved, this, [this](const QModelIndex &, int first, int last) {
        const int header = headerRow();
        m_changeOpen = true;
        if (doneCount() == last - first + 1)
            beginRemoveRows({}, header, m_expanded ? header + doneCount() : header);
        else if (m_expanded)
            beginRemoveRows({}, header + 1 + first, header + 1 + last);
        else
            m_changeOpen = false;
    });
    connect(source, &M::rowsRemoved, this, [this, headerChanged] {
        if (std::exchange(m_changeOpen, false))
            endRemoveRows();
        headerChanged();
    });
    connect(source, &M::dataChanged, this,
            [this](const QModelIndex &from, const QModelIndex &to, const QList<int> &roles) {
                if (m_expanded)
                    emit dataChanged(index(headerRow() + 1 + from.row()), index(headerRow() + 1 + to.row()), roles);
            });
}

void IdeaFeedModel::setExpanded(bool expanded)
{
    if (expanded == m_expanded)
        return;
    const int count = doneCount();
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
    emit expandedChanged();
}

int IdeaFeedModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    const int done = doneCount();
    return activeCount() + (done > 0 ? 1 + (m_expanded ? done : 0) : 0);
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
        return doneCount();
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
