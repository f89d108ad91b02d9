#include "VTodo.h"

#include "AppClock.h"

#include <libical/ical.h>

#include <QByteArrayView>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// Reading goes through libical. Writing edits the previous text itself, line by line:
// libical is asked what the task says and for the text of every line Fikranest writes, but
// every line it does not rewrite leaves exactly as it came. Printing the whole tree back
// through libical 3.0 would lose what its parser drops or mangles: unknown components and
// IANA properties vanish, a value it cannot parse becomes an X-LIC-ERROR line, and escaped
// commas lose their backslash in X- values and CATEGORIES. Only when the text's own shape
// does not match what libical read (components out of order, several VCALENDARs, a bare
// VTODO, junk between components) is the task printed once through libical and edited
// from there.

namespace {

// Beyond these an object is refused rather than read. A task is a few kilobytes; the
// limits keep libical's quadratic corners (freeing many VTIMEZONEs, deep recursion when
// freeing or printing nested components) far away.
constexpr qsizetype maxBytes = 4 * 1024 * 1024;
constexpr int maxComponents = 5000;
constexpr int maxTimezones = 100;
constexpr int maxDepth = 16;

// Name-based ids for UIDs that are not UUIDs are derived in this namespace. Fixed for
// good: changing it would give every such task another id on the next sync.
constexpr QUuid uidNamespace(0xeca41cba, 0x0075, 0x4e19, 0xaf, 0xfe, 0x3c, 0xbc, 0x84, 0x79, 0x36, 0x73);

constexpr char prodId[] = "-//Fikranest//Fikranest//AR";
constexpr char voiceName[] = "X-FIKRANEST-VOICE";

QStringList ourCategories()
{
    return {QStringLiteral("فكرة"), QStringLiteral("مهمة"), QStringLiteral("ملاحظة")};
}

QString defaultCategory()
{
    return QStringLiteral("فكرة");
}

QString doneStatus()
{
    return QStringLiteral("done");
}

QString activeStatus()
{
    return QStringLiteral("active");
}

// libical keeps its error switches in globals: set them once, before any other call, and
// never again. Every entry point passes through here, so every thread sees them set.
void prepareLibical()
{
    static std::once_flag once;
    std::call_once(once, [] {
        icalerror_set_errors_are_fatal(0);
        // No error may abort or print, whatever libical was built with.
        for (int error = ICAL_BADARG_ERROR; error < ICAL_UNKNOWN_ERROR; ++error)
            icalerror_set_error_state(static_cast<icalerrorenum>(error), ICAL_ERROR_NONFATAL);
    });
}

// ---------------------------------------------------------------------------------------
// libical objects

// icalcomponent_free recurses into children; this frees bottom-up without recursion.
void freeTree(icalcomponent *root)
{
    std::vector<icalcomponent *> stack{root};
    while (!stack.empty()) {
        icalcomponent *component = stack.back();
        if (icalcomponent *child = icalcomponent_get_first_component(component, ICAL_ANY_COMPONENT)) {
            icalcomponent_remove_component(component, child);
            stack.push_back(child);
        } else {
            stack.pop_back();
            icalcomponent_free(component);
        }
    }
}

// libical's property and component iterators live inside the component and are reset by
// many getters, so lists are taken whole before anything else is asked.
std::vector<icalproperty *> properties(icalcomponent *component, icalproperty_kind kind)
{
    std::vector<icalproperty *> found;
    for (icalproperty *p = icalcomponent_get_first_property(component, kind); p;
         p = icalcomponent_get_next_property(component, kind))
        found.push_back(p);
    return found;
}

icalproperty *firstProperty(icalcomponent *component, icalproperty_kind kind)
{
    return icalcomponent_get_first_property(component, kind);
}

std::vector<icalcomponent *> components(icalcomponent *component, icalcomponent_kind kind)
{
    std::vector<icalcomponent *> found;
    for (icalcomponent *c = icalcomponent_get_first_component(component, kind); c;
         c = icalcomponent_get_next_component(component, kind))
        found.push_back(c);
    return found;
}

QByteArray takeText(char *text)
{
    QByteArray bytes(text ? text : "");
    icalmemory_free_buffer(text);
    return bytes;
}

// The text of one property, as libical escapes and folds it; the property is freed.
QByteArray propertyText(icalproperty *property)
{
    const QByteArray text = takeText(icalproperty_as_ical_string_r(property));
    icalproperty_free(property);
    return text;
}

QByteArray componentText(icalcomponent *component)
{
    const QByteArray text = takeText(icalcomponent_as_ical_string_r(component));
    freeTree(component);
    return text;
}

// ---------------------------------------------------------------------------------------
// Parsing

// Counts what libical would build before it builds it, to refuse objects whose freeing or
// printing would run away. Only BEGIN lines count, so a miscount errs on the safe side.
bool withinLimits(const QByteArray &ics, QString *error)
{
    int begins = 0;
    int timezones = 0;
    qsizetype pos = 0;
    while (pos < ics.size()) {
        qsizetype end = ics.indexOf('\n', pos);
        if (end < 0)
            end = ics.size();
        const QByteArrayView line = QByteArrayView(ics).sliced(pos, end - pos).trimmed();
        if (line.size() >= 5 && qstrnicmp(line.data(), "BEGIN", 5) == 0) {
            ++begins;
            if (line.toByteArray().toUpper().contains("VTIMEZONE"))
                ++timezones;
        }
        pos = end + 1;
    }
    if (begins > maxComponents) {
        *error = QStringLiteral("too many components");
        return false;
    }
    if (timezones > maxTimezones) {
        *error = QStringLiteral("too many VTIMEZONEs");
        return false;
    }
    return true;
}

// libical's parser prints "Encountered END before BEGIN" to stderr for each END that closes
// nothing. Such lines mean nothing, so the parser never sees them.
QByteArray withoutStrayEnds(const QByteArray &ics)
{
    QByteArray kept;
    kept.reserve(ics.size());
    int level = 0;
    bool dropping = false;
    qsizetype pos = 0;
    while (pos < ics.size()) {
        const qsizetype newline = ics.indexOf('\n', pos);
        const qsizetype next = newline < 0 ? ics.size() : newline + 1;
        const QByteArrayView line = QByteArrayView(ics).sliced(pos, next - pos);
        pos = next;
        const bool continuation = !line.isEmpty() && (line.front() == ' ' || line.front() == '\t');
        if (continuation && dropping)
            continue;
        dropping = false;
        if (!continuation) {
            qsizetype cut = 0;
            while (cut < line.size() && line[cut] != ';' && line[cut] != ':' && line[cut] != '\r' && line[cut] != '\n')
                ++cut;
            // Without a separator the parser sees no name at all.
            const bool named = cut < line.size() && (line[cut] == ';' || line[cut] == ':');
            const QByteArrayView name = named ? line.first(cut).trimmed() : QByteArrayView();
            if (name.size() == 5 && qstrnicmp(name.data(), "BEGIN", 5) == 0) {
                ++level;
            } else if (name.size() == 3 && qstrnicmp(name.data(), "END", 3) == 0) {
                if (level == 0) {
                    dropping = true;
                    continue;
                }
                --level;
            }
        }
        kept += line;
    }
    return kept;
}

int depthOf(icalcomponent *root)
{
    int deepest = 0;
    std::vector<std::pair<icalcomponent *, int>> stack{{root, 1}};
    while (!stack.empty()) {
        const auto [component, depth] = stack.back();
        stack.pop_back();
        deepest = std::max(deepest, depth);
        if (deepest > maxDepth)
            break;
        for (icalcomponent *child : components(component, ICAL_ANY_COMPONENT))
            stack.emplace_back(child, depth + 1);
    }
    return deepest;
}

// The task of a calendar: the first VTODO that is not an override of one occurrence.
icalcomponent *taskOf(icalcomponent *calendar)
{
    const std::vector<icalcomponent *> todos = components(calendar, ICAL_VTODO_COMPONENT);
    for (icalcomponent *todo : todos) {
        if (!firstProperty(todo, ICAL_RECURRENCEID_PROPERTY))
            return todo;
    }
    return todos.empty() ? nullptr : todos.front();
}

// A text parsed by libical, and the task in it.
struct Tree
{
    explicit Tree(const QByteArray &ics)
    {
        prepareLibical();
        if (ics.size() > maxBytes) {
            error = QStringLiteral("calendar object too large");
            return;
        }
        if (ics.contains('\0')) {
            error = QStringLiteral("calendar object holds a NUL byte");
            return;
        }
        if (!withinLimits(ics, &error))
            return;
        // A copy in any case: the parser wants a terminating NUL, which QByteArray::fromRawData lacks.
        const QByteArray text = withoutStrayEnds(ics);
        root = icalparser_parse_string(text.constData());
        if (!root) {
            error = QStringLiteral("not iCalendar data");
            return;
        }
        if (depthOf(root) > maxDepth) {
            error = QStringLiteral("components nested too deep");
            return;
        }
        switch (icalcomponent_isa(root)) {
        case ICAL_VCALENDAR_COMPONENT:
            calendar = root;
            break;
        case ICAL_XROOT_COMPONENT: // several objects in one text: the first with a task
            for (icalcomponent *c : components(root, ICAL_VCALENDAR_COMPONENT)) {
                if (taskOf(c)) {
                    calendar = c;
                    break;
                }
            }
            if (!calendar && !components(root, ICAL_VCALENDAR_COMPONENT).empty()) {
                error = QStringLiteral("no VTODO");
                return;
            }
            break;
        case ICAL_VTODO_COMPONENT: // a bare task, without its VCALENDAR
            todo = root;
            return;
        default:
            break;
        }
        if (!calendar) {
            error = QStringLiteral("no VCALENDAR");
            return;
        }
        todo = taskOf(calendar);
        if (!todo)
            error = QStringLiteral("no VTODO");
    }
    ~Tree()
    {
        if (root)
            freeTree(root);
    }
    Tree(const Tree &) = delete;
    Tree &operator=(const Tree &) = delete;

    icalcomponent *root = nullptr;
    icalcomponent *calendar = nullptr; // null for a bare VTODO
    icalcomponent *todo = nullptr;     // null when `error` says why
    QString error;
};

// ---------------------------------------------------------------------------------------
// Times

// libical 3.0 prints any time after the year 3000 as 00000000T000000, so later ones are
// refused as if they were not on the calendar.
constexpr int lastYear = 3000;

bool isValidDate(int year, int month, int day)
{
    return year >= 1 && year <= lastYear && QDate(year, month, day).isValid();
}

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

// Whether a VTIMEZONE from the object can be expanded without running away. libical
// expands a zone's rules occurrence by occurrence from its first DTSTART on; a server can
// send rules that occur every second, or never (BYMONTH=2;BYMONTHDAY=30), and libical
// 3.0 would loop on those. Real zones change at most a few times a year on a fixed rule.
bool isTameTimezone(icalcomponent *vtimezone)
{
    const std::vector<icalcomponent *> parts = components(vtimezone, ICAL_ANY_COMPONENT);
    if (parts.size() > 64)
        return false;
    int dates = 0;
    for (icalcomponent *part : parts) {
        const icalcomponent_kind kind = icalcomponent_isa(part);
        if (kind != ICAL_XSTANDARD_COMPONENT && kind != ICAL_XDAYLIGHT_COMPONENT)
            return false;
        dates += static_cast<int>(properties(part, ICAL_RDATE_PROPERTY).size());
        const std::vector<icalproperty *> rules = properties(part, ICAL_RRULE_PROPERTY);
        if (rules.size() > 2 || dates > 400)
            return false;
        for (icalproperty *rule : rules) {
            const icalrecurrencetype r = icalproperty_get_rrule(rule);
            if (r.freq != ICAL_YEARLY_RECURRENCE || r.interval > 1)
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
        }
    }
    return true;
}

// libical 3.0 expands a zone's rules through its ICU-backed recurrence iterator, some ten
// microseconds an occurrence, and Outlook's zones start their rules in 1601. The same few
// zones come with every task of a list, so they are kept, expanded, by their text. libical
// guards a zone's expansion and lookups with its own lock, so threads can share them.
std::shared_ptr<icaltimezone> sharedZone(icalcomponent *vtimezone)
{
    static std::mutex mutex;
    static std::map<QByteArray, std::shared_ptr<icaltimezone>> zones; // under `mutex`
    const QByteArray text = takeText(icalcomponent_as_ical_string_r(vtimezone));
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
            freeTree(clone);
        return nullptr;
    }
    if (zones.size() >= 32)
        zones.clear();
    zones.emplace(text, zone);
    return zone;
}

// Reads the instants of DATE and DATE-TIME values, resolving TZID parameters against the
// object's own VTIMEZONEs, then libical's built-in zones.
class Times
{
public:
    Times(icalcomponent *calendar, const QTimeZone &zone)
        : m_calendar(calendar), m_zone(zone.isValid() ? zone : QTimeZone::utc())
    {
    }

    // The instant `time` of `property` stands for, UTC. Empty for a null time; empty with
    // `invalid` set for a date that is not on any calendar (libical takes 20241345T256000Z).
    std::optional<QDateTime> instant(icalproperty *property, icaltimetype time, bool *invalid)
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
            if (!isValidDate(utc.year, utc.month, utc.day) || !QTime::isValid(utc.hour, utc.minute, utc.second)) {
                *invalid = true;
                return std::nullopt;
            }
            return QDateTime(QDate(utc.year, utc.month, utc.day), QTime(utc.hour, utc.minute, utc.second), Qt::UTC)
                .addSecs(leap);
        }
        // Floating, or a zone nobody knows: the clock in the reader's zone.
        return AppClock::firstInstantAt(day, clock, m_zone).addSecs(leap).toUTC();
    }

    std::optional<QDateTime> instant(icalproperty *property, bool *invalid)
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

private:
    icaltimezone *zoneNamed(const char *name)
    {
        const QByteArray key(name);
        const auto known = m_zones.find(key);
        if (known != m_zones.end())
            return known->second;
        icaltimezone *zone = ownZone(key);
        if (!zone)
            zone = builtinZone(key);
        m_zones.emplace(key, zone);
        return zone;
    }

    // The object's own VTIMEZONE of that TZID, as RFC 5545 wants it read.
    icaltimezone *ownZone(const QByteArray &name)
    {
        if (!m_calendar)
            return nullptr;
        for (icalcomponent *vtimezone : components(m_calendar, ICAL_VTIMEZONE_COMPONENT)) {
            icalproperty *tzid = firstProperty(vtimezone, ICAL_TZID_PROPERTY);
            const char *text = tzid ? icalproperty_get_tzid(tzid) : nullptr;
            if (!text || name != text)
                continue;
            if (!isTameTimezone(vtimezone))
                return nullptr;
            std::shared_ptr<icaltimezone> zone = sharedZone(vtimezone);
            m_held.push_back(zone);
            return zone.get();
        }
        return nullptr;
    }

    // "Europe/Berlin", or a prefixed form of it ("/freeassociation.sourceforge.net/Europe/Berlin",
    // "/mozilla.org/20050126_1/Europe/Berlin"), or a Windows name ("Arab Standard Time").
    static icaltimezone *builtinZone(const QByteArray &name)
    {
        if (name == "UTC" || name == "GMT" || name == "Z")
            return icaltimezone_get_utc_timezone();
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

    icalcomponent *m_calendar;
    QTimeZone m_zone;
    std::map<QByteArray, icaltimezone *> m_zones;
    std::vector<std::shared_ptr<icaltimezone>> m_held;
};

// A duration in seconds, without libical's int arithmetic (which overflows on P9999999W).
qint64 secondsOf(const icaldurationtype &d)
{
    const qint64 seconds = qint64(d.weeks) * 7 * 86400 + qint64(d.days) * 86400 + qint64(d.hours) * 3600
        + qint64(d.minutes) * 60 + qint64(d.seconds);
    return d.is_neg ? -seconds : seconds;
}

std::optional<QDateTime> shifted(const std::optional<QDateTime> &anchor, qint64 seconds, bool *invalid)
{
    if (!anchor)
        return std::nullopt;
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

qint64 secondsOf(const QDateTime &t)
{
    return t.toSecsSinceEpoch();
}

bool sameSecond(const std::optional<QDateTime> &a, const std::optional<QDateTime> &b)
{
    if (!a || !b)
        return a.has_value() == b.has_value();
    return secondsOf(*a) == secondsOf(*b);
}

bool isWritable(const QDateTime &t)
{
    if (!t.isValid())
        return false;
    const int year = t.toUTC().date().year();
    return year >= 1 && year <= lastYear;
}

icaltimetype utcTime(const QDateTime &t)
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

// ---------------------------------------------------------------------------------------
// Reading

// Text as it reads back: libical drops CR and trims white space from both ends of a value,
// and control characters have no place in iCalendar text. A lone surrogate becomes U+FFFD.
QString storable(const QString &text)
{
    QString s = QString::fromUtf8(text.toUtf8());
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(u'\r', u'\n');
    s.removeIf([](QChar c) { return (c.unicode() < 0x20 && c != u'\n' && c != u'\t') || c.unicode() == 0x7f; });
    const auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    qsizetype begin = 0;
    qsizetype end = s.size();
    while (begin < end && blank(s.at(begin)))
        ++begin;
    while (end > begin && blank(s.at(end - 1)))
        --end;
    return s.mid(begin, end - begin);
}

QString textOf(const char *text)
{
    return text ? QString::fromUtf8(text) : QString();
}

// What a task says, with what writing over it needs to know.
struct Snapshot
{
    Idea idea;
    bool hasUid = false;
    bool dated = false; // holds CREATED, LAST-MODIFIED or DTSTAMP; else its times are now
    std::optional<QDateTime> due;
    icalcomponent *ownAlarm = nullptr; // the alarm whose absolute TRIGGER is at DUE
};

QUuid idForUid(const QString &uid)
{
    // A UUID in its usual 36-character form, braces allowed; anything else is a name.
    const QString bare = uid.startsWith(u'{') && uid.endsWith(u'}') ? uid.mid(1, uid.size() - 2) : uid;
    if (bare.size() == 36) {
        const QUuid id = QUuid::fromString(bare);
        if (!id.isNull())
            return id;
    }
    return QUuid::createUuidV5(uidNamespace, uid);
}

// `strict` turns a date that is not on the calendar and a missing UID into errors; the
// writer reads leniently (such a date counts as absent) so it can still edit the task.
std::optional<Snapshot> snapshotOf(const Tree &tree, const QTimeZone &zone, bool strict, QString *error)
{
    icalcomponent *todo = tree.todo;
    Snapshot s;
    Idea &idea = s.idea;
    Times times(tree.calendar, zone);
    QString badProperty;
    const auto instant = [&](icalproperty *property, const char *name) {
        bool invalid = false;
        std::optional<QDateTime> moment = times.instant(property, &invalid);
        if (invalid && badProperty.isEmpty())
            badProperty = QString::fromLatin1(name);
        return moment;
    };

    icalproperty *uid = firstProperty(todo, ICAL_UID_PROPERTY);
    const QString uidText = uid ? textOf(icalproperty_get_uid(uid)) : QString();
    s.hasUid = !uidText.isEmpty();
    if (s.hasUid) {
        idea.id = idForUid(uidText);
    } else if (strict) {
        *error = QStringLiteral("VTODO has no UID");
        return std::nullopt;
    }
    // libical cannot print a control character in a UID back as it came, and a UID must
    // never change.
    if (strict && std::any_of(uidText.begin(), uidText.end(), [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; })) {
        *error = QStringLiteral("VTODO has a UID with control characters");
        return std::nullopt;
    }

    icalproperty *summary = firstProperty(todo, ICAL_SUMMARY_PROPERTY);
    idea.title = Idea::trimmedTitle(storable(summary ? textOf(icalproperty_get_summary(summary)) : QString()));
    icalproperty *description = firstProperty(todo, ICAL_DESCRIPTION_PROPERTY);
    idea.body = storable(description ? textOf(icalproperty_get_description(description)) : QString());

    idea.category = defaultCategory();
    const QStringList ours = ourCategories();
    for (icalproperty *p : properties(todo, ICAL_CATEGORIES_PROPERTY)) {
        const QString word = textOf(icalproperty_get_categories(p)).trimmed();
        if (ours.contains(word)) {
            idea.category = word;
            break;
        }
    }

    icalproperty *status = firstProperty(todo, ICAL_STATUS_PROPERTY);
    const icalproperty_status statusValue = status ? icalproperty_get_status(status) : ICAL_STATUS_NONE;
    icalproperty *completed = firstProperty(todo, ICAL_COMPLETED_PROPERTY);
    const bool done = statusValue == ICAL_STATUS_COMPLETED || statusValue == ICAL_STATUS_CANCELLED || completed;
    idea.status = done ? doneStatus() : activeStatus();
    instant(completed, "COMPLETED"); // only checked

    idea.isVoiceNote = false;
    for (icalproperty *p : properties(todo, ICAL_X_PROPERTY)) {
        const char *name = icalproperty_get_x_name(p);
        if (name && qstricmp(name, voiceName) == 0
            && QByteArray(icalproperty_get_x(p)).trimmed().compare("TRUE", Qt::CaseInsensitive) == 0)
            idea.isVoiceNote = true;
    }

    const std::optional<QDateTime> created = instant(firstProperty(todo, ICAL_CREATED_PROPERTY), "CREATED");
    const std::optional<QDateTime> modified = instant(firstProperty(todo, ICAL_LASTMODIFIED_PROPERTY), "LAST-MODIFIED");
    const std::optional<QDateTime> stamp = instant(firstProperty(todo, ICAL_DTSTAMP_PROPERTY), "DTSTAMP");
    const QDateTime now = QDateTime::fromSecsSinceEpoch(AppClock::now().toSecsSinceEpoch(), Qt::UTC);
    s.dated = created || modified || stamp;
    idea.createdAt = created ? *created : stamp ? *stamp : modified ? *modified : now;
    idea.updatedAt = modified ? *modified : stamp ? *stamp : created ? *created : idea.createdAt;

    s.due = instant(firstProperty(todo, ICAL_DUE_PROPERTY), "DUE");
    icalproperty *startProperty = firstProperty(todo, ICAL_DTSTART_PROPERTY);
    const std::optional<QDateTime> start = instant(startProperty, "DTSTART");

    std::optional<QDateTime> earliest;
    for (icalcomponent *alarm : components(todo, ICAL_VALARM_COMPONENT)) {
        icalproperty *trigger = firstProperty(alarm, ICAL_TRIGGER_PROPERTY);
        if (!trigger)
            continue;
        const icaltriggertype t = icalproperty_get_trigger(trigger);
        std::optional<QDateTime> moment;
        bool invalid = false;
        if (!icaltime_is_null_time(t.time)) {
            moment = times.instant(trigger, t.time, &invalid);
            if (moment && s.due && !s.ownAlarm && sameSecond(moment, s.due))
                s.ownAlarm = alarm;
        } else {
            icalparameter *related = icalproperty_get_first_parameter(trigger, ICAL_RELATED_PARAMETER);
            const bool fromEnd = related && icalparameter_get_related(related) == ICAL_RELATED_END;
            moment = shifted(fromEnd ? s.due : start, secondsOf(t.duration), &invalid);
        }
        if (invalid && badProperty.isEmpty())
            badProperty = QStringLiteral("TRIGGER");
        if (moment && (!earliest || *moment < *earliest))
            earliest = moment;
    }
    const std::optional<QDateTime> reminder = earliest ? earliest : s.due;
    idea.hasReminder = reminder.has_value();
    idea.reminderDate = reminder;

    if (strict && !badProperty.isEmpty()) {
        *error = QStringLiteral("invalid date in %1").arg(badProperty);
        return std::nullopt;
    }
    return s;
}

// ---------------------------------------------------------------------------------------
// The text, as content lines and the components they form

class Text
{
public:
    struct Line
    {
        qsizetype from = 0; // its physical lines in the text, line breaks included
        qsizetype to = 0;
        QByteArray unfolded;
        QByteArray name;  // upper case; empty for a blank line
        QByteArray value; // of BEGIN and END: the component's name, upper case
    };
    struct Block
    {
        QByteArray name;
        int begin = -1;
        int end = -1;
        std::vector<int> children;   // indices into blocks
        std::vector<int> properties; // indices into lines: the block's own content lines
    };

    explicit Text(const QByteArray &text) : m_text(text)
    {
        splitLines();
        buildBlocks();
        m_replacement.resize(m_lines.size());
        m_removed.assign(m_lines.size(), false);
    }

    // One VCALENDAR, properly nested, with nothing but blank lines around it.
    bool isClean() const { return m_clean; }

    // Whether the components libical read are the ones in the text, so that each VTODO or
    // VALARM it read has its lines here. libical keeps unknown and X- components in its tree
    // (though it never prints them), so they count too.
    bool matches(icalcomponent *calendar) const
    {
        if (icalcomponent_string_to_kind(m_blocks.front().name.constData()) != icalcomponent_isa(calendar))
            return false;
        std::vector<std::pair<int, icalcomponent *>> stack{{0, calendar}};
        while (!stack.empty()) {
            const auto [block, component] = stack.back();
            stack.pop_back();
            const std::optional<Pairs> kids = paired(block, component);
            if (!kids)
                return false;
            stack.insert(stack.end(), kids->begin(), kids->end());
        }
        return true;
    }

    // The block of `child`, a component libical read under the one of `block`.
    int blockOf(int block, icalcomponent *parent, icalcomponent *child) const
    {
        if (const std::optional<Pairs> kids = paired(block, parent)) {
            for (const auto &[kid, theirs] : *kids) {
                if (theirs == child)
                    return kid;
            }
        }
        return -1;
    }

    // The block's own content lines of that property name.
    std::vector<int> linesNamed(int block, QByteArrayView name) const
    {
        std::vector<int> found;
        for (int line : m_blocks[block].properties) {
            if (m_lines[line].name == name)
                found.push_back(line);
        }
        return found;
    }

    const Line &line(int index) const { return m_lines[index]; }
    const Block &block(int index) const { return m_blocks[index]; }

    // Generated text comes with CRLF; it takes the text's own line breaks.
    QByteArray fitted(QByteArray generated) const
    {
        if (m_eol != "\r\n")
            generated.replace("\r\n", "\n");
        return generated;
    }

    void replace(int line, const QByteArray &generated)
    {
        m_replacement[line] = fitted(generated);
        m_removed[line] = false;
        m_changed = true;
    }
    void remove(int line)
    {
        m_removed[line] = true;
        m_changed = true;
    }
    void removeBlock(int block)
    {
        for (int i = m_blocks[block].begin; i <= m_blocks[block].end; ++i)
            m_removed[i] = true;
        m_changed = true;
    }
    // Properties go after the block's properties, before its first component (RFC 5545
    // wants them there); components go at its end.
    void insertProperty(int block, const QByteArray &generated)
    {
        const Block &b = m_blocks[block];
        const int at = b.children.empty() ? b.end : m_blocks[b.children.front()].begin;
        m_properties[at] += fitted(generated);
        m_changed = true;
    }
    void insertComponent(int block, const QByteArray &generated)
    {
        m_components[m_blocks[block].end] += fitted(generated);
        m_changed = true;
    }
    // The first line of that name is rewritten, or the property added.
    void set(int block, QByteArrayView name, const QByteArray &generated)
    {
        const std::vector<int> lines = linesNamed(block, name);
        if (lines.empty())
            insertProperty(block, generated);
        else
            replace(lines.front(), generated);
    }
    void removeAll(int block, QByteArrayView name)
    {
        for (int line : linesNamed(block, name))
            remove(line);
    }

    bool changed() const { return m_changed; }

    QByteArray result() const
    {
        QByteArray out;
        out.reserve(m_text.size() + 1024);
        for (int i = 0; i < int(m_lines.size()); ++i) {
            if (const auto p = m_properties.find(i); p != m_properties.end())
                out += p->second;
            if (const auto c = m_components.find(i); c != m_components.end())
                out += c->second;
            if (m_removed[i])
                continue;
            if (!m_replacement[i].isNull())
                out += m_replacement[i];
            else
                out += QByteArrayView(m_text).sliced(m_lines[i].from, m_lines[i].to - m_lines[i].from);
        }
        return out;
    }

private:
    using Pairs = std::vector<std::pair<int, icalcomponent *>>;

    // The components under `block` with those libical read under `component`, the nth of a
    // kind with the nth of that kind: libical moves VTIMEZONEs ahead of everything else.
    std::optional<Pairs> paired(int block, icalcomponent *component) const
    {
        const std::vector<int> &kids = m_blocks[block].children;
        const std::vector<icalcomponent *> theirs = components(component, ICAL_ANY_COMPONENT);
        if (kids.size() != theirs.size())
            return std::nullopt;
        Pairs pairs;
        std::map<icalcomponent_kind, size_t> next;
        for (int kid : kids) {
            const icalcomponent_kind kind = icalcomponent_string_to_kind(m_blocks[kid].name.constData());
            size_t &i = next[kind];
            while (i < theirs.size() && icalcomponent_isa(theirs[i]) != kind)
                ++i;
            if (i == theirs.size())
                return std::nullopt;
            pairs.emplace_back(kid, theirs[i++]);
        }
        return pairs;
    }

    void splitLines()
    {
        bool eolSeen = false;
        qsizetype pos = 0;
        while (pos < m_text.size()) {
            const qsizetype newline = m_text.indexOf('\n', pos);
            const qsizetype next = newline < 0 ? m_text.size() : newline + 1;
            qsizetype contentEnd = newline < 0 ? m_text.size() : newline;
            if (contentEnd > pos && m_text.at(contentEnd - 1) == '\r')
                --contentEnd;
            if (newline >= 0 && !eolSeen) {
                m_eol = contentEnd < newline ? QByteArray("\r\n") : QByteArray("\n");
                eolSeen = true;
            }
            const QByteArrayView content = QByteArrayView(m_text).sliced(pos, contentEnd - pos);
            const bool continuation = !m_lines.empty() && !content.isEmpty()
                && (content.front() == ' ' || content.front() == '\t') && !m_lines.back().unfolded.isEmpty();
            if (continuation) {
                m_lines.back().to = next;
                m_lines.back().unfolded += content.sliced(1);
            } else {
                m_lines.push_back({pos, next, content.toByteArray(), {}, {}});
            }
            pos = next;
        }
        for (Line &line : m_lines) {
            const QByteArray &u = line.unfolded;
            qsizetype cut = 0;
            while (cut < u.size() && u.at(cut) != ';' && u.at(cut) != ':')
                ++cut;
            line.name = u.left(cut).trimmed().toUpper();
            if (cut < u.size())
                line.value = u.mid(cut + 1).trimmed().toUpper();
        }
    }

    void buildBlocks()
    {
        std::vector<int> open;
        bool broken = false;
        int roots = 0;
        for (int i = 0; i < int(m_lines.size()) && !broken; ++i) {
            const Line &line = m_lines[i];
            if (line.name == "BEGIN") {
                const int index = int(m_blocks.size());
                m_blocks.push_back({line.value, i, -1, {}, {}});
                if (open.empty())
                    ++roots;
                else
                    m_blocks[open.back()].children.push_back(index);
                open.push_back(index);
            } else if (line.name == "END") {
                if (open.empty() || m_blocks[open.back()].name != line.value) {
                    broken = true;
                } else {
                    m_blocks[open.back()].end = i;
                    open.pop_back();
                }
            } else if (!open.empty()) {
                m_blocks[open.back()].properties.push_back(i);
            } else if (!line.unfolded.trimmed().isEmpty()) {
                broken = true; // text outside the VCALENDAR
            }
        }
        m_clean = !broken && open.empty() && roots == 1 && m_blocks.front().name == "VCALENDAR";
    }

    QByteArray m_text;
    QByteArray m_eol = "\r\n";
    std::vector<Line> m_lines;
    std::vector<Block> m_blocks;
    bool m_clean = false;

    std::vector<QByteArray> m_replacement;
    std::vector<bool> m_removed;
    std::map<int, QByteArray> m_properties; // inserted before that line
    std::map<int, QByteArray> m_components; // inserted before that line, after m_properties
    bool m_changed = false;
};

// ---------------------------------------------------------------------------------------
// Writing

// RFC 5545 text unescaping and escaping, for the CATEGORIES lines edited in place.
QString unescaped(QByteArrayView value)
{
    QByteArray out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c == '\\' && i + 1 < value.size()) {
            const char next = value[++i];
            out += (next == 'n' || next == 'N') ? '\n' : next;
        } else {
            out += c;
        }
    }
    return QString::fromUtf8(out);
}

QByteArray escaped(const QString &value)
{
    QByteArray out;
    for (const char c : value.toUtf8()) {
        if (c == '\\' || c == ',' || c == ';')
            out += '\\';
        if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

// Folds a content line at 75 octets, never inside a UTF-8 sequence.
QByteArray folded(const QByteArray &line)
{
    QByteArray out;
    qsizetype start = 0;
    qsizetype room = 75;
    while (line.size() - start > room) {
        qsizetype cut = start + room;
        while (cut > start + 1 && (static_cast<unsigned char>(line.at(cut)) & 0xC0) == 0x80)
            --cut;
        out += line.mid(start, cut - start);
        out += "\r\n ";
        start = cut;
        room = 74;
    }
    out += line.mid(start);
    out += "\r\n";
    return out;
}

// The values of a CATEGORIES line: split at commas that are not escaped, unescaped, and
// the line's text up to and including the colon that starts them.
std::pair<QByteArray, QStringList> categoriesOf(const QByteArray &unfolded)
{
    qsizetype colon = -1;
    bool quoted = false;
    for (qsizetype i = 0; i < unfolded.size(); ++i) {
        const char c = unfolded.at(i);
        if (c == '"')
            quoted = !quoted;
        else if (c == ':' && !quoted) {
            colon = i;
            break;
        }
    }
    if (colon < 0)
        return {};
    QStringList values;
    const QByteArray value = unfolded.mid(colon + 1);
    qsizetype from = 0;
    for (qsizetype i = 0; i <= value.size(); ++i) {
        if (i < value.size() && value.at(i) == '\\') {
            ++i;
            continue;
        }
        if (i == value.size() || value.at(i) == ',') {
            values.append(unescaped(QByteArrayView(value).sliced(from, i - from)));
            from = i + 1;
        }
    }
    return {unfolded.left(colon + 1), values};
}

QByteArray textProperty(icalproperty *(*make)(const char *), const QString &text)
{
    return propertyText(make(text.toUtf8().constData()));
}

QByteArray timeProperty(icalproperty *(*make)(icaltimetype), const QDateTime &t)
{
    return propertyText(make(utcTime(t)));
}

// A DISPLAY alarm must carry a DESCRIPTION, and libical cannot read an empty one.
QString alarmDescription(const QString &title)
{
    const QString text = storable(title);
    return text.trimmed().isEmpty() ? QStringLiteral("تذكير") : text;
}

QByteArray alarmText(const QString &title, const QDateTime &when)
{
    icalcomponent *alarm = icalcomponent_new_valarm();
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    icalcomponent_add_property(alarm, icalproperty_new_description(alarmDescription(title).toUtf8().constData()));
    icaltriggertype trigger;
    trigger.time = utcTime(when);
    trigger.duration = icaldurationtype_null_duration();
    icalproperty *p = icalproperty_new_trigger(trigger);
    icalproperty_add_parameter(p, icalparameter_new_value(ICAL_VALUE_DATETIME));
    icalcomponent_add_property(alarm, p);
    return componentText(alarm);
}

QByteArray skeleton(const Idea &idea)
{
    return QByteArray("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:") + prodId + "\r\nBEGIN:VTODO\r\n"
        + textProperty(icalproperty_new_uid, idea.idText()) + "END:VTODO\r\nEND:VCALENDAR\r\n";
}

struct Wanted
{
    QString title, body, category, status;
    std::optional<QDateTime> reminder;
    bool voice = false;
    QDateTime createdAt, updatedAt;
};

Wanted wantedOf(const Idea &idea)
{
    Wanted w;
    w.title = storable(idea.title);
    w.body = storable(idea.body);
    // A word that is not ours reads back as the default, so it is written as that.
    w.category = ourCategories().contains(idea.category) ? idea.category : defaultCategory();
    w.status = idea.status == doneStatus() ? doneStatus() : activeStatus();
    if (idea.hasReminder && idea.reminderDate && isWritable(*idea.reminderDate))
        w.reminder = QDateTime::fromSecsSinceEpoch(idea.reminderDate->toSecsSinceEpoch(), Qt::UTC);
    w.voice = idea.isVoiceNote;
    const QDateTime now = AppClock::now();
    w.createdAt = isWritable(idea.createdAt) ? idea.createdAt : now;
    w.updatedAt = isWritable(idea.updatedAt) ? idea.updatedAt : now;
    return w;
}

// The idea written over `text`; empty when the text holds no task to write over, or (in
// the second pass) its shape still does not match what libical read.
std::optional<QByteArray> writeOver(const Idea &idea, const QByteArray &text, bool fresh, bool normalised)
{
    Tree tree(text);
    if (!tree.todo)
        return std::nullopt;
    QString ignored;
    const std::optional<Snapshot> before = snapshotOf(tree, AppClock::timeZone(), false, &ignored);
    if (!before)
        return std::nullopt;
    const Idea &was = before->idea;
    const Wanted w = wantedOf(idea);

    const bool title = fresh || Idea::trimmedTitle(w.title) != was.title;
    const bool body = fresh || w.body != was.body;
    const bool category = fresh || w.category != was.category;
    const bool status = fresh || w.status != was.status;
    const std::optional<QDateTime> wasReminder = was.hasReminder ? was.reminderDate : std::nullopt;
    const bool reminder = fresh || !sameSecond(w.reminder, wasReminder);
    const bool voice = fresh || w.voice != was.isVoiceNote;
    const bool created = fresh || !before->dated || !sameSecond(w.createdAt, was.createdAt);
    const bool updated = fresh || !before->dated || !sameSecond(w.updatedAt, was.updatedAt);
    if (!(!before->hasUid || title || body || category || status || reminder || voice || created || updated))
        return text;

    Text edit(text);
    if (!edit.isClean() || tree.root != tree.calendar || !edit.matches(tree.calendar)) {
        if (normalised || fresh)
            return std::nullopt;
        // Printed once through libical, without the X-LIC-ERROR lines its parser added.
        icalcomponent *holder = tree.calendar ? tree.calendar : tree.todo;
        icalcomponent_strip_errors(holder);
        QByteArray printed = takeText(icalcomponent_as_ical_string_r(holder));
        if (!tree.calendar)
            printed = QByteArray("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:") + prodId + "\r\n" + printed
                + "END:VCALENDAR\r\n";
        return writeOver(idea, printed, false, true);
    }
    const int todo = edit.blockOf(0, tree.calendar, tree.todo);
    if (todo < 0)
        return std::nullopt;
    const int ownAlarm = before->ownAlarm ? edit.blockOf(todo, tree.todo, before->ownAlarm) : -1;

    if (!before->hasUid)
        edit.set(todo, "UID", textProperty(icalproperty_new_uid, idea.idText()));
    if (updated) {
        edit.set(todo, "DTSTAMP", timeProperty(icalproperty_new_dtstamp, w.updatedAt));
    }
    if (created)
        edit.set(todo, "CREATED", timeProperty(icalproperty_new_created, w.createdAt));
    if (updated)
        edit.set(todo, "LAST-MODIFIED", timeProperty(icalproperty_new_lastmodified, w.updatedAt));
    if (title) {
        if (w.title.isEmpty())
            edit.removeAll(todo, "SUMMARY");
        else
            edit.set(todo, "SUMMARY", textProperty(icalproperty_new_summary, w.title));
    }
    if (body) {
        if (w.body.isEmpty())
            edit.removeAll(todo, "DESCRIPTION");
        else
            edit.set(todo, "DESCRIPTION", textProperty(icalproperty_new_description, w.body));
    }
    if (category) {
        // Only our three words go, wherever they are; other categories stay.
        const QStringList ours = ourCategories();
        for (int line : edit.linesNamed(todo, "CATEGORIES")) {
            auto [head, values] = categoriesOf(edit.line(line).unfolded);
            const qsizetype count = values.size();
            values.removeIf([&ours](const QString &v) { return ours.contains(v.trimmed()); });
            if (values.size() == count)
                continue;
            if (values.isEmpty()) {
                edit.remove(line);
            } else {
                QByteArray rewritten = head;
                for (qsizetype i = 0; i < values.size(); ++i)
                    rewritten += (i ? "," : "") + escaped(values.at(i));
                edit.replace(line, folded(rewritten));
            }
        }
        edit.insertProperty(todo, textProperty(icalproperty_new_categories, w.category));
    }
    if (status) {
        if (w.status == doneStatus()) {
            edit.set(todo, "STATUS", propertyText(icalproperty_new_status(ICAL_STATUS_COMPLETED)));
            edit.set(todo, "COMPLETED", timeProperty(icalproperty_new_completed, w.updatedAt));
            edit.set(todo, "PERCENT-COMPLETE", propertyText(icalproperty_new_percentcomplete(100)));
        } else {
            edit.set(todo, "STATUS", propertyText(icalproperty_new_status(ICAL_STATUS_NEEDSACTION)));
            edit.removeAll(todo, "COMPLETED");
            edit.removeAll(todo, "PERCENT-COMPLETE");
        }
    }
    if (reminder) {
        if (w.reminder) {
            edit.set(todo, "DUE", timeProperty(icalproperty_new_due, *w.reminder));
            edit.removeAll(todo, "DURATION"); // RFC 5545: never both DUE and DURATION
        } else {
            edit.removeAll(todo, "DUE");
        }
    }
    if (voice) {
        if (w.voice)
            edit.set(todo, voiceName, [] {
                icalproperty *p = icalproperty_new_x("TRUE");
                icalproperty_set_x_name(p, voiceName);
                return propertyText(p);
            }());
        else
            edit.removeAll(todo, voiceName);
    }
    if (reminder) {
        // Fikranest's own alarm is replaced; other alarms stay as they are.
        if (ownAlarm >= 0)
            edit.removeBlock(ownAlarm);
        if (w.reminder)
            edit.insertComponent(todo, alarmText(w.title, *w.reminder));
    } else if (title && ownAlarm >= 0) {
        edit.set(ownAlarm, "DESCRIPTION", textProperty(icalproperty_new_description, alarmDescription(w.title)));
    }
    return edit.changed() ? edit.result() : text;
}

} // namespace

namespace VTodo {

Reading read(const QByteArray &ics, const QTimeZone &zone)
{
    Reading reading;
    Tree tree(ics);
    if (!tree.todo) {
        reading.error = tree.error;
        return reading;
    }
    std::optional<Snapshot> s = snapshotOf(tree, zone, true, &reading.error);
    if (s)
        reading.idea = std::move(s->idea);
    return reading;
}

QByteArray write(const Idea &idea, const QByteArray &previous)
{
    prepareLibical();
    if (!previous.isEmpty()) {
        if (std::optional<QByteArray> written = writeOver(idea, previous, false, false))
            return *written;
    }
    if (std::optional<QByteArray> written = writeOver(idea, skeleton(idea), true, false))
        return *written;
    return {};
}

QString uid(const QByteArray &ics)
{
    Tree tree(ics);
    if (!tree.todo)
        return {};
    icalproperty *p = firstProperty(tree.todo, ICAL_UID_PROPERTY);
    return p ? textOf(icalproperty_get_uid(p)) : QString();
}

} // namespace VTodo
