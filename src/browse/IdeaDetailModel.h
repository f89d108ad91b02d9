#pragma once

#include "Idea.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

class IdeaActions;
class IdeaStore;
class NotificationCenter;

// One idea opened for reading and editing. Typing lands in the record a moment after
// the last keystroke, with no save button; only ending an edit stamps `updatedAt`.
class IdeaDetailModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool found READ found NOTIFY ideaChanged)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString body READ body WRITE setBody NOTIFY bodyChanged)
    Q_PROPERTY(bool isDone READ isDone NOTIFY ideaChanged)
    Q_PROPERTY(bool hasReminder READ hasReminder NOTIFY ideaChanged)
    Q_PROPERTY(QDateTime reminderDate READ reminderDate NOTIFY ideaChanged)
    Q_PROPERTY(QDateTime createdAt READ createdAt NOTIFY ideaChanged)
    Q_PROPERTY(bool isEditing READ isEditing NOTIFY isEditingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    // Typing stops, then this long passes, then the text is written.
    static constexpr int saveDelayMs = 400;

    explicit IdeaDetailModel(QObject *parent = nullptr);
    IdeaDetailModel(IdeaStore *store, NotificationCenter *notifications, QObject *parent = nullptr);
    // Whatever is still waiting is written now.
    ~IdeaDetailModel() override;

    // Opens the record with this row and id; `found` says whether it still exists.
    Q_INVOKABLE void load(qint64 recordId, const QString &id);

    bool found() const { return m_found; }
    QString title() const { return m_idea.title; }
    void setTitle(const QString &title);
    QString body() const { return m_idea.body; }
    void setBody(const QString &body);
    bool isDone() const;
    bool hasReminder() const { return m_idea.hasReminder && m_idea.reminderDate.has_value(); }
    QDateTime reminderDate() const { return m_idea.reminderDate.value_or(QDateTime()); }
    QDateTime createdAt() const { return m_idea.createdAt; }
    bool isEditing() const { return m_isEditing; }
    QString errorMessage() const { return m_errorMessage; }
    const Idea &idea() const { return m_idea; }

    // Focus entering a field starts an edit.
    Q_INVOKABLE void beginEditing();
    // The edit toggle: ending an edit stamps `updatedAt` and writes at once.
    Q_INVOKABLE void toggleEditing();
    // Complete or reopen; true when the view may go back to the list.
    Q_INVOKABLE bool toggleStatus();
    // Delete for good; true when the view may go back to the list.
    Q_INVOKABLE bool deleteIdea();
    // Leaving the view ends an edit still open.
    Q_INVOKABLE void leave();
    // Writes waiting edits now; false when the write did not happen.
    bool flush();

signals:
    // Title and body have their own signals: a long body is never re-read for a keystroke in the title.
    void ideaChanged();
    void titleChanged();
    void bodyChanged();
    void isEditingChanged();
    void errorMessageChanged();

private:
    void edited();
    void adopt(const Idea &idea);
    bool write();
    void report(const QString &message);
    void onStoreUpdated(const Idea &idea);

    QPointer<IdeaStore> m_store;
    IdeaActions *m_actions;
    Idea m_idea;
    bool m_found = false;
    bool m_isEditing = false;
    bool m_unsaved = false;
    QTimer m_saveTimer;
    QString m_errorMessage;
};
