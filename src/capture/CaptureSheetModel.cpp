#include "CaptureSheetModel.h"

#include "IdeaStore.h"
#include "NotificationCenter.h"
#include "ReminderOption.h"
#include "Vocabulary.h"

CaptureSheetModel::CaptureSheetModel(QObject *parent)
    : CaptureSheetModel(IdeaStore::shared(), NotificationCenter::shared(), parent)
{
}

CaptureSheetModel::CaptureSheetModel(IdeaStore *store, NotificationCenter *notifications, QObject *parent)
    : QObject(parent),
      m_actions(store, notifications),
      m_recorder(nullptr, {}, this),
      // Most of what people throw in here is a passing thought: the record's own default.
      m_selectedCategory(Vocabulary::defaultCategory())
{
}

QString CaptureSheetModel::joinedTitle(const QString &title, const QString &dictated)
{
    return title.isEmpty() ? dictated : title + u' ' + dictated;
}

void CaptureSheetModel::setTitle(const QString &title)
{
    if (title == m_title)
        return;
    m_title = title;
    emit titleChanged();
}

void CaptureSheetModel::setSelectedCategory(const QString &category)
{
    if (category == m_selectedCategory)
        return;
    m_selectedCategory = category;
    emit selectedCategoryChanged();
}

QStringList CaptureSheetModel::categories()
{
    return Vocabulary::categories();
}

QStringList CaptureSheetModel::reminderLabels()
{
    QStringList labels;
    for (const ReminderOption &option : ReminderOption::allCases())
        labels << option.rawValue();
    return labels;
}

void CaptureSheetModel::setShowPermissionAlert(bool show)
{
    if (show == m_showPermissionAlert)
        return;
    m_showPermissionAlert = show;
    emit showPermissionAlertChanged();
}

void CaptureSheetModel::tapReminder(int index)
{
    if (index < 0 || index >= ReminderOption::allCases().size())
        return;
    m_selectedReminder = index == m_selectedReminder ? -1 : index;
    emit selectedReminderChanged();
}

void CaptureSheetModel::tapVoiceButton()
{
    if (m_recorder.isRecording()) {
        m_recorder.stopRecording();
        return;
    }
    if (m_preparingVoice)
        return;
    m_preparingVoice = true;
    emit preparingVoiceChanged();
    m_recorder.requestPermissions([recorder = QPointer<AudioRecorder>(&m_recorder), this](bool granted) {
        if (!recorder)
            return;
        m_preparingVoice = false;
        emit preparingVoiceChanged();
        if (granted)
            recorder->startRecording();
        else
            setShowPermissionAlert(true);
    });
}

void CaptureSheetModel::useTranscribedText()
{
    setTitle(joinedTitle(m_title, m_recorder.transcribedText()));
    m_recorder.setTranscribedText({});
}

bool CaptureSheetModel::save()
{
    m_recorder.stopRecording();
    const QString title = Idea::trimmedTitle(m_title);
    if (title.isEmpty())
        return false;

    std::optional<QDateTime> reminderDate;
    if (m_selectedReminder >= 0)
        reminderDate = ReminderOption::allCases().at(m_selectedReminder).date();
    // Dictated or not, the sheet never marks an idea as a voice note.
    Idea idea = Idea::make(title, QString(), m_selectedCategory, reminderDate.has_value(), reminderDate, false);
    if (!m_actions.add(idea)) {
        m_saveError = IdeaStore::writeFailureMessage();
        emit saveErrorChanged();
        return false;
    }
    return true;
}

void CaptureSheetModel::cancel()
{
    m_recorder.stopRecording();
}
