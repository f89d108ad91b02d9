#pragma once

#include <libical/ical.h>

#include <QByteArray>
#include <QDateTime>
#include <QTimeZone>

#include <map>
#include <memory>
#include <optional>
#include <vector>

// Reads the instants of DATE and DATE-TIME values, resolving TZID parameters against the
// object's own VTIMEZONEs, then libical's built-in zones; and the checks and conversions
// both reading and writing need.
class IcalTimes
{
public:
    // libical 3.0 prints any time after the year 3000 as 00000000T000000, so later ones are
    // refused as if they were not on the calendar.
    static constexpr int lastYear = 3000;

    // `calendar` may be null, for a bare VTODO; an invalid `zone` reads as UTC.
    IcalTimes(icalcomponent *calendar, const QTimeZone &zone);

    // The instant `time` of `property` stands for, UTC. Empty for a null time; empty with
    // `invalid` set for a date that is not on any calendar (libical takes 20241345T256000Z).
    // A date-only value is 09:00 in the reader's zone that day.
    std::optional<QDateTime> instant(icalproperty *property, icaltimetype time, bool *invalid);
    // The same for the DATE or DATE-TIME value of `property`, which may be null.
    std::optional<QDateTime> instant(icalproperty *property, bool *invalid);

    static bool isValidDate(int year, int month, int day);
    static bool isValidTime(const icaltimetype &t);
    // Whether libical can write `t` back.
    static bool isWritable(const QDateTime &t);
    static icaltimetype utcTime(const QDateTime &t);
    // `anchor` moved by a duration, without libical's int arithmetic (which overflows on
    // P9999999W); empty with `invalid` set when that leaves the calendar.
    static std::optional<QDateTime> shifted(const std::optional<QDateTime> &anchor, const icaldurationtype &d,
                                            bool *invalid);
    // Both empty, or both the same second.
    static bool sameSecond(const std::optional<QDateTime> &a, const std::optional<QDateTime> &b);

private:
    icaltimezone *zoneNamed(const char *name);
    icaltimezone *ownZone(const QByteArray &name);

    icalcomponent *m_calendar;
    QTimeZone m_zone;
    std::map<QByteArray, icaltimezone *> m_zones;
    std::vector<std::shared_ptr<icaltimezone>> m_held;
};
