#pragma once

#include "AppClock.h"
#include "SecureRandom.h"

#include <QDate>
#include <QDateTime>
#include <QHashFunctions>
#include <QList>
#include <QString>
#include <QTime>
#include <QTimeZone>

#include <optional>

// One of the fixed moments a new idea can ask to be reminded at. Its label is its
// identity: the chips show it, and equal labels are the same choice.
class ReminderOption
{
public:
    enum class Case { tomorrowMorning, tomorrowEvening, threeDays, oneWeek, baadein };

    constexpr ReminderOption(Case kind) : m_kind(kind) {}

    // In the order the chips offer them.
    static QList<ReminderOption> allCases();
    static std::optional<ReminderOption> fromRawValue(const QString &rawValue);

    Case kind() const { return m_kind; }
    QString rawValue() const;

    // The concrete moment for this choice, counted in calendar days from the local
    // date of `now` in `zone`. `baadein` draws its day and hour anew on every call.
    QDateTime date(const QDateTime &now = AppClock::now(), const QTimeZone &zone = AppClock::timeZone(),
                   const SecureRandom::Source &random = SecureRandom::systemWord) const;

    friend bool operator==(const ReminderOption &a, const ReminderOption &b)
    {
        return a.rawValue() == b.rawValue();
    }
    friend size_t qHash(const ReminderOption &option, size_t seed = 0) { return qHash(option.rawValue(), seed); }

private:
    Case m_kind;
};
