#include "IcalTimes.h"

#include "AppClock.h"
#include "IcalZones.h"
#include "Libical.h"

IcalTimes::IcalTimes(icalcomponent *calendar, const QTimeZone &zone)
    : m_calendar(calendar), m_zone(zone.isValid() ? zone : QTimeZone::utc())
{
}

std::optional<QDateTime> IcalTimes::instant(icalproperty *property, icaltimetype time, bool *invalid)
{
    if (icaltime_is_null_time(time))
        return std::nullopt;
    if (!isValidDate(time.year, time.month, time.day)) {
        *invalid = true;
        return std::nullopt;
    }
    const QDate day(time.year, time.month, time.day);
    if (time.is_date)
        return AppClock::firstInstantAt(day, QTime(9, 0), m_zone).toUTC();
    // 60 is a leap second: the instant after :59.
    if (time.hour < 0 || time.hour > 23 || time.minute < 0 || time.minute > 59 || time.second < 0
        || time.second > 60) {
        *invalid = true;
        return std::nullopt;
    }
    const int leap = time.second == 60 ? 1 : 0;
    const QTime clock(time.hour, time.minute, time.second - leap);
    if (icaltime_is_utc(time))
        return QDateTime(day, clock, Qt::UTC).addSecs(leap);

    icalparameter *tzid = property ? icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER) : nullptr;
    const char *name = tzid ? icalparameter_get_tzid(tzid) : nullptr;
    if (icaltimezone *zone = name ? zoneNamed(name) : nullptr) {
        icaltimetype utc = time;
        utc.second -= leap;
        utc.zone = nullptr;
        icaltimezone_convert_time(&utc, zone, icaltimezone_get_utc_timezone());
        if (!isValidTime(utc)) {
            *invalid = true;
            return std::nullopt;
        }
        return QDateTime(QDate(utc.year, utc.month, utc.day), QTime(utc.hour, utc.minute, utc.second), Qt::UTC)
            .addSecs(leap);
    }
    // Floating, or a zone nobody knows: the clock in the reader's zone.
    return AppClock::firstInstantAt(day, clock, m_zone).addSecs(leap).toUTC();
}

std::optional<QDateTime> IcalTimes::instant(icalproperty *property, bool *invalid)
{
    if (!property)
        return std::nullopt;
    icalvalue *value = icalproperty_get_value(property);
    if (!value)
        return std::nullopt;
    const icalvalue_kind kind = icalvalue_isa(value);
    if (kind != ICAL_DATETIME_VALUE && kind != ICAL_DATE_VALUE) {
        *invalid = true;
        return std::nullopt;
    }
    return instant(property, icalvalue_get_datetime(value), invalid);
}

icaltimezone *IcalTimes::zoneNamed(const char *name)
{
    const QByteArray key(name);
    const auto known = m_zones.find(key);
    if (known != m_zones.end())
        return known->second;
    icaltimezone *zone = ownZone(key);
    if (!zone)
        zone = IcalZones::builtin(key);
    m_zones.emplace(key, zone);
    return zone;
}

// The object's own VTIMEZONE of that TZID, as RFC 5545 wants it read.
icaltimezone *IcalTimes::ownZone(const QByteArray &name)
{
    if (!m_calendar)
        return nullptr;
    for (icalcomponent *vtimezone : Libical::components(m_calendar, ICAL_VTIMEZONE_COMPONENT)) {
        icalproperty *tzid = icalcomponent_get_first_property(vtimezone, ICAL_TZID_PROPERTY);
        const char *text = tzid ? icalproperty_get_tzid(tzid) : nullptr;
        if (!text || name != text)
            continue;
        if (!IcalZones::isTame(vtimezone))
            return nullptr;
        std::shared_ptr<icaltimezone> zone = IcalZones::shared(vtimezone);
        m_held.push_back(zone);
        return zone.get();
    }
    return nullptr;
}

bool IcalTimes::isValidDate(int year, int month, int day)
{
    return year >= 1 && year <= lastYear && QDate(year, month, day).isValid();
}

bool IcalTimes::isValidTime(const icaltimetype &t)
{
    return isValidDate(t.year, t.month, t.day) && (t.is_date || QTime::isValid(t.hour, t.minute, t.second));
}

bool IcalTimes::isWritable(const QDateTime &t)
{
    if (!t.isValid())
        return false;
    const int year = t.toUTC().date().year();
    return year >= 1 && year <= lastYear;
}

icaltimetype IcalTimes::utcTime(const QDateTime &t)
{
    const QDateTime utc = t.toUTC();
    icaltimetype time = icaltime_null_time();
    time.year = utc.date().year();
    time.month = utc.date().month();
    time.day = utc.date().day();
    time.hour = utc.time().hour();
    time.minute = utc.time().minute();
    time.second = utc.time().second();
    time.is_date = 0;
    time.zone = icaltimezone_get_utc_timezone();
    return time;
}

std::optional<QDateTime> IcalTimes::shifted(const std::optional<QDateTime> &anchor, const icaldurationtype &d,
                                            bool *invalid)
{
    if (!anchor)
        return std::nullopt;
    const qint64 length = qint64(d.weeks) * 7 * 86400 + qint64(d.days) * 86400 + qint64(d.hours) * 3600
        + qint64(d.minutes) * 60 + qint64(d.seconds);
    const qint64 seconds = d.is_neg ? -length : length;
    // Ten thousand years either way is past any calendar libical writes.
    if (seconds > 400000000000LL || seconds < -400000000000LL) {
        *invalid = true;
        return std::nullopt;
    }
    const QDateTime moment = anchor->addSecs(seconds);
    if (!moment.isValid() || moment.date().year() < 1 || moment.date().year() > lastYear) {
        *invalid = true;
        return std::nullopt;
    }
    return moment;
}

bool IcalTimes::sameSecond(const std::optional<QDateTime> &a, const std::optional<QDateTime> &b)
{
    if (!a || !b)
        return a.has_value() == b.has_value();
    return a->toSecsSinceEpoch() == b->toSecsSinceEpoch();
}
