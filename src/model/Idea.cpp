#include "Idea.h"

#include <atomic>

namespace {

bool isSpaceOrTab(QChar ch)
{
    return ch == u'\t' || ch.category() == QChar::Separator_Space;
}

// Provisional identities count down from -1 so they never meet a store row key.
std::atomic<qint64> nextProvisionalId{-1};
}

Idea::Idea()
    : id(QUuid::createUuid()),
      createdAt(AppClock::now()),
      updatedAt(createdAt),
      m_recordId(nextProvisionalId.fetch_sub(1, std::memory_order_relaxed))
{
}

Idea Idea::make(const QString &title, const QString &body, const QString &category,
                bool hasReminder, const std::optional<QDateTime> &reminderDate,
                bool isVoiceNote, const QDateTime &now)
{
    Idea idea;
    idea.title = title;
    idea.body = body;
    idea.category = category;
    idea.hasReminder = hasReminder;
    idea.reminderDate = reminderDate;
    idea.isVoiceNote = isVoiceNote;
    idea.createdAt = now;
    idea.updatedAt = now;
    return idea;
}

QString Idea::idText() const
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QString Idea::trimmedTitle(const QString &title)
{
    qsizetype begin = 0;
    qsizetype end = title.size();
    while (begin < end && isSpaceOrTab(title.at(begin)))
        ++begin;
    while (end > begin && isSpaceOrTab(title.at(end - 1)))
        --end;
    return title.mid(begin, end - begin);
}
