#include "IdeaDetailModel.h"

#include "AppClock.h"
#include "IdeaActions.h"
#include "IdeaStore.h"
#include "NotificationCenter.h"
#include "Vocabulary.h"

#include <QRegularExpression>

IdeaDetailModel::IdeaDetailModel(QObject *parent)
    : IdeaDetailModel(IdeaStore::shared(), NotificationCenter::shared(), parent)
{
}

IdeaDetailModel::IdeaDetailModel(IdeaStore *store, NotificationCenter *notifications, QObject *parent)
    : QObject(parent), m_store(store), m_actions(new IdeaActions(store, notifications, this))
{
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(saveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &IdeaDetailModel::write);
    if (!m_store)
        return;
    connect(m_store, &IdeaStore::updated, this, &IdeaDetailModel::onStoreUpdated);
    connect(m_store, &IdeaStore::removed, this, [this](const Idea &idea) {
        if (m_found && idea == m_idea && idea.id == m_idea.id) {
            m_saveTimer.stop();
            m_unsaved = false;
            m_found = false;
            emit ideaChanged();
        }
    });
}

IdeaDetailModel::~IdeaDetailModel()
{
    flush();
}

void IdeaDetailModel::load(qint64 recordId, const QString &id)
{
    flush();
    const std::optional<Idea> idea = m_store ? m_store->find(recordId, QUuid::fromString(id)) : std::nullopt;
    m_found = idea.has_value();
    if (idea)
        adopt(*idea);
    report(m_found ? QString() : IdeaStore::goneMessage());
    emit ideaChanged();
}

bool IdeaDetailModel::isDone() const
{
    return m_idea.status == Vocabulary::done();
}

// Only an edit writes: the editor reshapes some texts it is given (a CR becomes a line
// break), and an idea that was only looked at must stay as it was stored.
void IdeaDetailModel::setTitle(const QString &typed)
{
    if (!m_isEditing)
        return;
    // The title is one line: a line break pasted into it reads as a space.
    static const QRegularExpression lineBreaks(QStringLiteral("\\r\\n|[\\r\\n\\x{2028}\\x{2029}]"));
    const QString title = QString(typed).replace(lineBreaks, QStringLiteral(" "));
    if (title == m_idea.title) {
        // The field still shows the break: it takes the title back.
        if (title != typed)
            emit titleChanged();
        return;
    }
    m_idea.title = title;
    emit titleChanged();
    edited();
}

void IdeaDetailModel::setBody(const QString &body)
{
    if (!m_isEditing || body == m_idea.body)
        return;
    m_idea.body = body;
    emit bodyChanged();
    edited();
}

void IdeaDetailModel::edited()
{
    if (!m_found)
        return;
    m_unsaved = true;
    m_saveTimer.start();
}

bool IdeaDetailModel::write()
{
    m_saveTimer.stop();
    if (!m_found || !m_store)
        return false;
    const IdeaStore::Write result = m_actions->edit(m_idea);
    // A refused write stays owed: the next pause, or leaving, tries again.
    m_unsaved = result == IdeaStore::Write::failed;
    if (result == IdeaStore::Write::gone) {
        m_found = false;
        emit ideaChanged();
    }
    report(IdeaStore::messageFor(result));
    return result == IdeaStore::Write::done;
}

bool IdeaDetailModel::flush()
{
    return !m_unsaved || write();
}

void IdeaDetailModel::beginEditing()
{
    if (m_isEditing)
        return;
    m_isEditing = true;
    emit isEditingChanged();
}

void IdeaDetailModel::toggleEditing()
{
    if (!m_isEditing) {
        beginEditing();
        return;
    }
    m_idea.updatedAt = AppClock::now();
    m_isEditing = false;
    emit isEditingChanged();
    write();
}

void IdeaDetailModel::leave()
{
    if (m_isEditing)
        toggleEditing();
    else
        flush();
}

bool IdeaDetailModel::toggleStatus()
{
    if (!m_found || !flush())
        return false;
    const IdeaStore::Write result = m_actions->setStatus(m_idea, Vocabulary::toggledStatus(m_idea.status));
    report(IdeaStore::messageFor(result));
    emit ideaChanged();
    return result == IdeaStore::Write::done;
}

bool IdeaDetailModel::deleteIdea()
{
    m_saveTimer.stop();
    if (!m_found)
        return true;
    const IdeaStore::Write result = m_actions->remove(m_idea);
    report(IdeaStore::messageFor(result));
    return result != IdeaStore::Write::failed;
}

void IdeaDetailModel::onStoreUpdated(const Idea &idea)
{
    // Another surface changed this record; typing not yet written wins over it.
    if (!m_found || !(idea == m_idea) || idea.id != m_idea.id || m_unsaved)
        return;
    adopt(idea);
    emit ideaChanged();
}

void IdeaDetailModel::adopt(const Idea &idea)
{
    const bool titleChanges = idea.title != m_idea.title;
    const bool bodyChanges = idea.body != m_idea.body;
    m_idea = idea;
    if (titleChanges)
        emit titleChanged();
    if (bodyChanges)
        emit bodyChanged();
}

void IdeaDetailModel::report(const QString &message)
{
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}
