#include "AppClock.h"

#include <algorithm>

#ifdef FIKRANEST_TEST_HOOKS
#include <QFile>
#endif

QDateTime AppClock::now()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
#ifdef FIKRANEST_TEST_HOOKS
    // Milliseconds to add, written by the acceptance harness.
    QFile offset(qEnvironmentVariable("FIKRANEST_CLOCK_OFFSET_FILE"));
    if (!offset.fileName().isEmpty() && offset.open(QIODevice::ReadOnly))
        return now.addMSecs(offset.readAll().trimmed().toLongLong());
#endif
    return now;
}

QDateTime AppClock::firstInstantAt(QDate day, QTime time, const QTimeZone &zone)
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
