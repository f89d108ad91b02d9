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
        return firstInstantAt(today.addDays(1), QTime(9, 0), local);
    case Case::tomorrowEvening:
        return firstInstantAt(today.addDays(1), QTime(19, 0), local);
    case Case::threeDays:
        return firstInstantAt(today.addDays(3), QTime(10, 0), local);
    case Case::oneWeek:
        return firstInstantAt(today.addDays(7), QTime(10, 0), local);
    case Case::baadein: {
        static constexpr std::array<int, 3> dayOffsets{2, 4, 7};
        const int days = dayOffsets[SecureRandom::uniform(dayOffsets.size(), random)];
        const int hour = 9 + int(SecureRandom::uniform(12, random));
        return firstInstantAt(today.addDays(days), QTime(hour, 0), local);
    }
    }
    Q_UNREACHABLE();
}

QDateTime ReminderOption::firstInstantAt(QDate day, QTime time, const QTimeZone &zone)
{
    // The wall time read as UTC: an instant shows it exactly when instant + offset == wall.
    const qint64 wall = QDateTime(day, time, Qt::UTC).toMSecsSinceEpoch();
    // No zone strays more than a day from UTC, so every instant that could show this
    // wall time lies within two days of it.
    constexpr qint64 reach = 2 * 24 * 60 * 60 * 1000LL;
    const QDateTime from = QDateTime::fromMSecsSinceEpoch(wall - reach, Qt::UTC);
    const QDateTime to = QDateTime::fromMSecsSinceEpoch(wall + reach, Qt::UTC);

    // Walk the spans of constant offset in time order; the first span whose clock
    // reading covers the wall time holds its first instant. Coming upon a span that
    // already starts later on the clock means the wall time fell into the jump before it.
    qint64 spanStart = wall - reach;
    qint64 offset = zone.offsetFromUtc(from) * 1000LL;
    const auto instant = [&zone](qint64 msecs) { return QDateTime::fromMSecsSinceEpoch(msecs, zone); };
    const QTimeZone::OffsetDataList transitions =
        zone.hasTransitions() ? zone.transitions(from, to) : QTimeZone::OffsetDataList();
    for (const QTimeZone::OffsetData &transition : transitions) {
        const qint64 spanEnd = transition.atUtc.toMSecsSinceEpoch();
        const qint64 candidate = wall - offset;
        if (candidate < spanStart)
            return instant(spanStart);
        if (candidate < spanEnd)
            return instant(candidate);
        spanStart = spanEnd;
        offset = transition.offsetFromUtc * 1000LL;
    }
    return instant(std::max(wall - offset, spanStart));
}
