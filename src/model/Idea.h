#pragma once

#include "AppClock.h"

#include <QDateTime>
#include <QHashFunctions>
#include <QString>
#include <QUuid>

#include <optional>

// One captured thought, task or note. A plain value: the store hands out copies,
// and two copies are the same idea exactly when they carry the same record identity.
struct Idea
{
    // A new, not yet stored record: a fresh id, "active", both times now.
    Idea();

    QUuid id;
    QString title;
    QString body;
    QString category = QStringLiteral("فكرة");
    QString status = QStringLiteral("active");
    bool hasReminder = false;
    std::optional<QDateTime> reminderDate;
    bool isVoiceNote = false;
    QDateTime createdAt;
    QDateTime updatedAt;

    // A new, not yet stored record: fresh id, "active", both times `now`.
    static Idea make(const QString &title, const QString &body, const QString &category,
                     bool hasReminder, const std::optional<QDateTime> &reminderDate,
                     bool isVoiceNote, const QDateTime &now = AppClock::now());

    // Identity of the record itself, never of its field values. Unstored records get a
    // process-unique provisional identity; the store replaces it with its row key.
    qint64 recordId() const { return m_recordId; }
    bool isStored() const { return m_recordId > 0; }

    // Upper-case, hyphenated, no braces: the form stored and used for reminders.
    QString idText() const;

    // A title as kept: spaces and tabs (any space separator) go from both ends; line
    // breaks there stay. Names typed at the first run follow the same rule.
    static QString trimmedTitle(const QString &title);

    friend bool operator==(const Idea &a, const Idea &b) { return a.m_recordId == b.m_recordId; }
    friend size_t qHash(const Idea &idea, size_t seed = 0) { return qHash(idea.m_recordId, seed); }

private:
    friend class IdeaStore;
    // For rows read back from the store, which bring their own id and dates.
    struct Stored {};
    explicit Idea(Stored) {}

    qint64 m_recordId = 0;
};
