#include "Idea.h"

#include "Vocabulary.h"

#include <atomic>

namespace {
// Provisional identities count down from -1 so they never meet a store row key.
std::atomic<qint64> nextProvisionalId{-1};
}

Idea Idea::make(const QString &title, const QString &body, const QString &category,
                bool hasReminder, const std::optional<QDateTime> &reminderDate,
                bool isVoiceNote, const QDateTime &now)
{
    Idea idea;
    idea.id = QUuid::createUuid();
    idea.title = title;
    idea.body = body;
    idea.category = category;
    idea.status = Vocabulary::active();
    idea.hasReminder = hasReminder;
    idea.reminderDate = reminderDate;
    idea.isVoiceNote = isVoiceNote;
    idea.createdAt = now;
    idea.updatedAt = now;
    idea.m_recordId = nextProvisionalId.fetch_sub(1, std::memory_order_relaxed);
    return idea;
}

QString Idea::idText() const
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}
