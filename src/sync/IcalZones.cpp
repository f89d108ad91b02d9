#include "IcalZones.h"

#include "IcalTimes.h"
#include "Libical.h"

#include <QByteArrayView>
#include <QDate>
#include <QTimeZone>

#include <map>
#include <mutex>
#include <vector>

namespace {

// A time zone name that can only name a file under the zoneinfo directory. libical 3.0
// opens "<zoneinfo>/<name>" for any name it is asked about, "../../etc/passwd" and
// "../../dev/tty" included, so nothing from a server reaches it unchecked.
bool isSafeZoneName(QByteArrayView name)
{
    if (name.isEmpty() || name.size() > 64)
        return false;
    bool segmentStart = true;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const char c = name[i];
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool digit = c >= '0' && c <= '9';
        if (segmentStart) {
            if (!letter)
                return false;
            segmentStart = false;
        } else if (c == '/') {
            segmentStart = true;
        } else if (!letter && !digit && c != '_' && c != '-' && c != '+') {
            return false;
        }
    }
    return !segmentStart;
}

bool isPlainList(const short *list, int size)
{
    return size > 0 && list[0] == ICAL_RECURRENCE_ARRAY_MAX;
}

int listLength(const short *list, int size)
{
    int n = 0;
    while (n < size && list[n] != ICAL_RECURRENCE_ARRAY_MAX)
        ++n;
    return n;
}

// A yearly rule on one month, on a weekday of it or a few of its days.
bool isTameRule(const icalrecurrencetype &r)
{
    if (r.freq != ICAL_YEARLY_RECURRENCE || r.interval > 1)
        return false;
    if (!icaltime_is_null_time(r.until) && !IcalTimes::isValidTime(r.until))
        return false;
    if (!isPlainList(r.by_second, ICAL_BY_SECOND_SIZE) || !isPlainList(r.by_minute, ICAL_BY_MINUTE_SIZE)
        || !isPlainList(r.by_hour, ICAL_BY_HOUR_SIZE) || !isPlainList(r.by_year_day, ICAL_BY_YEARDAY_SIZE)
        || !isPlainList(r.by_week_no, ICAL_BY_WEEKNO_SIZE) || !isPlainList(r.by_set_pos, ICAL_BY_SETPOS_SIZE))
        return false;
    if (listLength(r.by_month, ICAL_BY_MONTH_SIZE) != 1 || icalrecurrencetype_month_is_leap(r.by_month[0]))
        return false;
    const int month = icalrecurrencetype_month_month(r.by_month[0]);
    if (month < 1 || month > 12)
        return false;
    const int days = listLength(r.by_day, ICAL_BY_DAY_SIZE);
    const int monthDays = listLength(r.by_month_day, ICAL_BY_MONTHDAY_SIZE);
    if (days > 1 || (days == 0 && monthDays == 0) || monthDays > 7)
        return false;
    if (days == 1) {
        const int position = icalrecurrencetype_day_position(r.by_day[0]);
        const int weekday = icalrecurrencetype_day_day_of_week(r.by_day[0]);
        if (weekday < 1 || weekday > 7 || position < -5 || position > 5 || (position != 0 && monthDays > 0))
            return false;
    }
    // Days every year has in that month (29 February comes round too, with a weekday
    // every 28 years).
    const int longest = month == 2 ? 29 : QDate(2001, month, 1).daysInMonth();
    for (int i = 0; i < monthDays; ++i) {
        const int day = r.by_month_day[i];
        if (day == 0 || day > longest || day < -28)
            return false;
    }
    return true;
}

} // namespace

namespace IcalZones {

bool isTame(icalcomponent *vtimezone)
{
    const std::vector<icalcomponent *> parts = Libical::components(vtimezone, ICAL_ANY_COMPONENT);
    if (parts.size() > 64)
        return false;
    int dates = 0;
    for (icalcomponent *part : parts) {
        // libical expands only these, and prints no others.
        const icalcomponent_kind kind = icalcomponent_isa(part);
        if (kind != ICAL_XSTANDARD_COMPONENT && kind != ICAL_XDAYLIGHT_COMPONENT)
            continue;
        icalproperty *start = icalcomponent_get_first_property(part, ICAL_DTSTART_PROPERTY);
        if (!start || !IcalTimes::isValidTime(icalproperty_get_dtstart(start)))
            return false;
        const std::vector<icalproperty *> extra = Libical::properties(part, ICAL_RDATE_PROPERTY);
        dates += static_cast<int>(extra.size());
        const std::vector<icalproperty *> rules = Libical::properties(part, ICAL_RRULE_PROPERTY);
        if (rules.size() > 2 || dates > 400)
            return false;
        for (icalproperty *date : extra) {
            const icaldatetimeperiodtype d = icalproperty_get_rdate(date);
            if (!IcalTimes::isValidTime(icaltime_is_null_time(d.time) ? d.period.start : d.time))
                return false;
        }
        for (icalproperty *rule : rules) {
            if (!isTameRule(icalproperty_get_rrule(rule)))
                return false;
        }
    }
    return true;
}

std::shared_ptr<icaltimezone> shared(icalcomponent *vtimezone)
{
    static std::mutex mutex;
    static std::map<QByteArray, std::shared_ptr<icaltimezone>> zones; // under `mutex`
    const QByteArray text = Libical::componentText(vtimezone);
    const std::lock_guard lock(mutex);
    if (const auto known = zones.find(text); known != zones.end())
        return known->second;
    icaltimezone *made = icaltimezone_new();
    if (!made)
        return nullptr;
    const std::shared_ptr<icaltimezone> zone(made, [](icaltimezone *z) { icaltimezone_free(z, 1); });
    // The zone owns the clone once it took it; icaltimezone_free(z, 1) frees it then.
    icalcomponent *clone = icalcomponent_new_clone(vtimezone);
    if (!icaltimezone_set_component(made, clone)) {
        if (icaltimezone_get_component(made) != clone)
            Libical::freeTree(clone);
        return nullptr;
    }
    if (zones.size() >= 32)
        zones.clear();
    zones.emplace(text, zone);
    return zone;
}

icaltimezone *builtin(const QByteArray &name)
{
    // The whole name, then what follows each slash.
    for (qsizetype from = 0;;) {
        const QByteArray tail = name.mid(from);
        if (isSafeZoneName(tail)) {
            if (icaltimezone *zone = icaltimezone_get_builtin_timezone(tail.constData()))
                return zone;
        }
        const qsizetype slash = name.indexOf('/', from);
        if (slash < 0)
            break;
        from = slash + 1;
    }
    const QByteArray iana = QTimeZone::windowsIdToDefaultIanaId(name);
    if (isSafeZoneName(iana))
        return icaltimezone_get_builtin_timezone(iana.constData());
    return nullptr;
}

} // namespace IcalZones
