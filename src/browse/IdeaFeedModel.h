#pragma once

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class IdeaListModel;

// The rows of the ideas list as one model, so one ListView can create only the
// cards in view however many there are: the active ideas, then, once anything is
// done and every active idea has been read, the done section's header row, then the
// done ideas while it is expanded. Rows are read as the view scrolls to them.
class IdeaFeedModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the list's state")
    Q_PROPERTY(bool expanded READ expanded WRITE setExpanded NOTIFY expandedChanged)

public:
    // `kind` is "idea" or "doneHeader".
    enum Role { KindRole = Qt::UserRole + 100, IsDoneRole, DoneCountRole };

    IdeaFeedModel(IdeaListModel *active, IdeaListModel *done, QObject *parent = nullptr);

    bool expanded() const { return m_expanded; }
    void setExpanded(bool expanded);

    int rowCount(const QModelIndex &parent = {}) const override;
    bool canFetchMore(const QModelIndex &parent = {}) const override;
    void fetchMore(const QModelIndex &parent = {}) override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void expandedChanged();

private:
    int activeCount() const;
    // The done ideas' rows shown under the header.
    int doneRows() const;
    int headerRow() const { return activeCount(); }
    bool headerWanted() const;
    void updateHeader();
    void follow(IdeaListModel *source, bool isDone);

    QPointer<IdeaListModel> m_active;
    QPointer<IdeaListModel> m_done;
    bool m_expanded = false;
    bool m_headerShown = false;
    // Whether the last "about to" from a source opened a change here that its
    // "done" must close.
    bool m_changeOpen = false;
};
