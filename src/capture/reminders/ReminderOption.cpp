#include "ReminderOption.h"

#include <algorithm>
#include <array>

QList<ReminderOption> ReminderOption::allCases()
{
    return {Case::tomorrowMorning, Case::tomorrowEvening, Case::threeDays, Case::oneWeek, Case::baadein};
}

std::optional<ReminderOption> ReminderOption::fromRawValue(const QString &rawValue)
{
    for (const ReminderOption option : allCases()) {
        if (option.rawValue() == rawValue)
            return option;
    }
    return std::nullopt;
}

QString ReminderOption::rawValue() const
{
    switch (m_kind) {
    case Case::tomorrowMorning:
        return QStringLiteral("بكرة الصباح ☀️");
    case Case::tomorrowEvening:
        return QStringLiteral("بكرة المساء 🌙");
    case Case::threeDays:
        return QStringLiteral("بعد 3 أيام 📅");
    case Case::oneWeek:
        return QStringLiteral("بعد أسبوع 🗓️");
    case Case::baadein:
        return QStringLiteral("بعدين 🎲");
    }
    Q_UNREACHABLE();
}

QDateTime ReminderOption::date(const QDateTime &now, const QTimeZone &zone, const SecureRandom::Source &random) const
{
    const QTimeZone local = zone.isValid() ? zone : QTimeZone::utc();
    const QDate today = now.toTimeZone(local).date();
    switch (m_kind) {
    case Case::tomorrowMorning:
        return AppClock::firstInstantAt(today.addDays(1), QTime(9, 0), local);
    case Case::tomorrowEvening:
        return AppClock::firstInstantAt(today.addDays(1), QTime(19, 0), local);
    case Case::threeDays:
        return AppClock::firstInstantAt(today.addDays(3), QTime(10, 0), local);
    case Case::oneWeek:
        return AppClock::firstInstantAt(today.addDays(7), QTime(10, 0), local);
    case Case::baadein: {
        static constexpr std::array<int, 3> dayOffsets{2, 4, 7};
        const int days = dayOffsets[SecureRandom::uniform(dayOffsets.size(), random)];
        const int hour = 9 + int(SecureRandom::uniform(12, random));
        return AppClock::firstInstantAt(today.addDays(days), QTime(hour, 0), local);
    }
    }
    Q_UNREACHABLE();
}
