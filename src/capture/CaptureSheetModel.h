#pragma once

#include "AudioRecorder.h"
#include "Idea.h"
#include "IdeaActions.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QtQml/qqml.h>

class IdeaStore;
class NotificationCenter;

// The sheet's recorder, as its QML sees it.
struct AudioRecorderForeign
{
    Q_GADGET
    QML_FOREIGN(AudioRecorder)
    QML_NAMED_ELEMENT(AudioRecorder)
    QML_UNCREATABLE("The capture sheet creates its own recorder")
};

// The state and rules of the new-idea sheet; the sheet itself only draws them.
// Each presentation makes a fresh one, so every sheet starts empty.
class CaptureSheetModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY titleChanged)
    Q_PROPERTY(QString selectedCategory READ selectedCategory WRITE setSelectedCategory NOTIFY selectedCategoryChanged)
    Q_PROPERTY(int selectedReminder READ selectedReminder NOTIFY selectedReminderChanged)
    Q_PROPERTY(QStringList categories READ categories CONSTANT)
    Q_PROPERTY(QStringList reminderLabels READ reminderLabels CONSTANT)
    Q_PROPERTY(bool showPermissionAlert READ showPermissionAlert WRITE setShowPermissionAlert
                   NOTIFY showPermissionAlertChanged)
    Q_PROPERTY(AudioRecorder *recorder READ recorder CONSTANT)
    // The recogniser is being loaded after a tap on the voice button; it can take seconds.
    Q_PROPERTY(bool preparingVoice READ preparingVoice NOTIFY preparingVoiceChanged)
    Q_PROPERTY(QString saveError READ saveError NOTIFY saveErrorChanged)

public:
    // Over the program's store and notification centre.
    explicit CaptureSheetModel(QObject *parent = nullptr);
    CaptureSheetModel(IdeaStore *store, NotificationCenter *notifications, QObject *parent = nullptr);

    // Dictated text goes after the typed text with one space between them.
    static QString joinedTitle(const QString &title, const QString &dictated);

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    bool canSave() const { return !Idea::trimmedTitle(m_title).isEmpty(); }
    QString selectedCategory() const { return m_selectedCategory; }
    void setSelectedCategory(const QString &category);
    // Index into reminderLabels, or -1 for no reminder.
    int selectedReminder() const { return m_selectedReminder; }
    static QStringList categories();
    static QStringList reminderLabels();
    bool showPermissionAlert() const { return m_showPermissionAlert; }
    void setShowPermissionAlert(bool show);
    AudioRecorder *recorder() { return &m_recorder; }
    bool preparingVoice() const { return m_preparingVoice; }
    QString saveError() const { return m_saveError; }

    // Tapping the chosen reminder again clears it.
    Q_INVOKABLE void tapReminder(int index);
    Q_INVOKABLE void tapVoiceButton();
    Q_INVOKABLE void useTranscribedText();
    // True when the idea was stored and the sheet may close.
    Q_INVOKABLE bool save();
    Q_INVOKABLE void cancel();

signals:
    void titleChanged();
    void selectedCategoryChanged();
    void selectedReminderChanged();
    void showPermissionAlertChanged();
    void saveErrorChanged();
    void preparingVoiceChanged();

private:
    IdeaActions m_actions;
    AudioRecorder m_recorder;
    QString m_title;
    QString m_selectedCategory;
    int m_selectedReminder = -1;
    bool m_showPermissionAlert = false;
    bool m_preparingVoice = false;
    QString m_saveError;
};
