#include "DateTexts.h"

#include <unicode/dtptngen.h>
#include <unicode/gregocal.h>
#include <unicode/reldatefmt.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace {

constexpr qint64 msPerMinute = 60 * 1000;

// Built on its first use; null from then on when ICU could not build it.
template <typename T>
struct Lazy
{
    bool tried = false;
    std::unique_ptr<T> value;
};

// What one locale needs, each part built on its first use: each costs milliseconds and
// ICU data, every card shows a relative text, and only a detail view the others.
struct Formatters
{
    explicit Formatters(const icu::Locale &locale) : locale(locale) {}

    icu::Locale locale;
    Lazy<icu::RelativeDateTimeFormatter> relative;
    Lazy<icu::Calendar> calendar;
    Lazy<icu::DateFormat> reminder;
    Lazy<icu::DateFormat> creation;
    // The zone the calendar and the two formats are set to, and those built later will be.
    std::unique_ptr<icu::TimeZone> zone;
    std::optional<QByteArray> zoneId;
    bool zoneFixed = false;
};

icu::Locale icuLocale(const QLocale &locale)
{
    // "C" and "POSIX" carry no language; the program then speaks English.
    QString tag = QStringLiteral("en");
    if (locale.language() != QLocale::C) {
        tag = QLocale::languageToCode(locale.language());
        // Naming the script only when it is not the usual one keeps ICU's regional data (ar_SA).
        if (QLocale(locale.language(), locale.territory()).script() != locale.script())
            tag += u'-' + QLocale::scriptToCode(locale.script());
        if (locale.territory() != QLocale::AnyTerritory)
            tag += u'-' + QLocale::territoryToCode(locale.territory());
    }
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale result = icu::Locale::forLanguageTag(tag.toStdString(), status);
    // Qt counts in the Gregorian calendar; ar_SA would otherwise get ICU's Hijri months.
    result.setKeywordValue("calendar", "gregorian", status);
    return result;
}

std::unique_ptr<icu::DateFormat> patternFormat(const icu::Locale &locale, const char16_t *skeleton)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(locale, status));
    if (U_FAILURE(status))
        return nullptr;
    const icu::UnicodeString pattern = generator->getBestPattern(skeleton, status);
    auto format = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
    return U_SUCCESS(status) ? std::move(format) : nullptr;
}

Formatters &formattersFor(const QLocale &locale)
{
    // Per thread, so a cached formatter is never used by two at once.
    thread_local std::unordered_map<std::string, Formatters> cache;
    const icu::Locale icu = icuLocale(locale);
    return cache.try_emplace(icu.getName(), icu).first->second;
}

// The part `lazy` holds, made by `make` on the first call and, if it keeps a zone, set
// to the formatters' zone when they have one.
template <typename T, typename Make>
T *built(Formatters &formatters, Lazy<T> &lazy, Make make)
{
    if (!std::exchange(lazy.tried, true)) {
        lazy.value = make();
        if constexpr (requires(T &part) { part.setTimeZone(*formatters.zone); }) {
            if (lazy.value && formatters.zone)
                lazy.value->setTimeZone(*formatters.zone);
        }
    }
    return lazy.value.get();
}

icu::RelativeDateTimeFormatter *relativeFormatter(Formatters &formatters)
{
    return built(formatters, formatters.relative, [&]() -> std::unique_ptr<icu::RelativeDateTimeFormatter> {
        UErrorCode status = U_ZERO_ERROR;
        auto relative = std::make_unique<icu::RelativeDateTimeFormatter>(
            formatters.locale, nullptr, UDAT_STYLE_LONG, UDISPCTX_CAPITALIZATION_NONE, status);
        return U_SUCCESS(status) ? std::move(relative) : nullptr;
    });
}

icu::Calendar *calendar(Formatters &formatters)
{
    return built(formatters, formatters.calendar, [&]() -> std::unique_ptr<icu::Calendar> {
        UErrorCode status = U_ZERO_ERROR;
        auto calendar = std::make_unique<icu::GregorianCalendar>(formatters.locale, status);
        return U_SUCCESS(status) ? std::move(calendar) : nullptr;
    });
}

icu::DateFormat *dateFormat(Formatters &formatters, Lazy<icu::DateFormat> Formatters::*which, const char16_t *skeleton)
{
    return built(formatters, formatters.*which, [&] { return patternFormat(formatters.locale, skeleton); });
}

// Sets the formatters to `zone` by its id rather than leaving ICU to guess the system's.
// A zone ICU does not know (Qt's fixed "UTC+03:00") is taken at its offset at `at`.
void useZone(Formatters &formatters, const QTimeZone &zone, const QDateTime &at)
{
    const QByteArray id = zone.id();
    if (id == formatters.zoneId && !formatters.zoneFixed)
        return;
    const icu::UnicodeString icuId = icu::UnicodeString::fromUTF8(id.toStdString());
    std::unique_ptr<icu::TimeZone> icuZone(icu::TimeZone::createTimeZone(icuId));
    formatters.zoneId = id;
    formatters.zoneFixed = *icuZone == icu::TimeZone::getUnknown();
    if (formatters.zoneFixed)
        icuZone = std::make_unique<icu::SimpleTimeZone>(zone.offsetFromUtc(at) * 1000, icuId);
    for (icu::DateFormat *format : {formatters.reminder.value.get(), formatters.creation.value.get()}) {
        if (format)
            format->setTimeZone(*icuZone);
    }
    if (formatters.calendar.value)
        formatters.calendar.value->setTimeZone(*icuZone);
    formatters.zone = std::move(icuZone);
}

QString fromIcu(const icu::UnicodeString &text)
{
    return QString::fromUtf16(text.getBuffer(), text.length());
}

QString fallback(const QDateTime &date, const QLocale &locale, const QTimeZone &zone)
{
    return locale.toString(date.toTimeZone(zone), QLocale::ShortFormat);
}

QString detail(Lazy<icu::DateFormat> Formatters::*which, const char16_t *skeleton,
               const QDateTime &date, const QLocale &locale, const QTimeZone &zone)
{
    if (!date.isValid())
        return {};
    Formatters &formatters = formattersFor(locale);
    useZone(formatters, zone, date);
    icu::DateFormat *format = dateFormat(formatters, which, skeleton);
    if (!format)
        return fallback(date, locale, zone);
    icu::UnicodeString text;
    format->format(static_cast<UDate>(date.toMSecsSinceEpoch()), text);
    return fromIcu(text);
}

} // namespace

DateTexts::DateTexts(QObject *parent)
    : QObject(parent)
{
    m_minute.setSingleShot(true);
    m_minute.setTimerType(Qt::PreciseTimer);
    connect(&m_minute, &QTimer::timeout, this, &DateTexts::tick);
    tick();
}

void DateTexts::tick()
{
    const bool first = !m_now.isValid();
    m_now = AppClock::now();
    const qint64 intoMinute = (m_now.toMSecsSinceEpoch() % msPerMinute + msPerMinute) % msPerMinute;
    m_minute.start(msPerMinute - intoMinute);
    if (!first)
        emit nowChanged();
}

QString DateTexts::relative(const QDateTime &date, const QDateTime &now, const QLocale &locale,
                            const QTimeZone &zone)
{
    if (!date.isValid() || !now.isValid())
        return {};
    Formatters &formatters = formattersFor(locale);
    useZone(formatters, zone, now);
    icu::RelativeDateTimeFormatter *formatter = relativeFormatter(formatters);
    icu::Calendar *steps = calendar(formatters);
    if (!formatter || !steps)
        return fallback(date, locale, zone);

    // The calendar steps from now to the date in the zone's own days, largest unit first;
    // the first that moves names the text. So 36 hours back is one day and twelve hours:
    // "yesterday", 23 hours back stays "23 hours ago", and a DST day still counts as one day.
    static constexpr std::pair<UCalendarDateFields, URelativeDateTimeUnit> units[] = {
        {UCAL_YEAR, UDAT_REL_UNIT_YEAR},        {UCAL_MONTH, UDAT_REL_UNIT_MONTH},
        {UCAL_WEEK_OF_YEAR, UDAT_REL_UNIT_WEEK}, {UCAL_DATE, UDAT_REL_UNIT_DAY},
        {UCAL_HOUR_OF_DAY, UDAT_REL_UNIT_HOUR}, {UCAL_MINUTE, UDAT_REL_UNIT_MINUTE},
        {UCAL_SECOND, UDAT_REL_UNIT_SECOND},
    };
    UErrorCode status = U_ZERO_ERROR;
    steps->setTime(static_cast<UDate>(now.toMSecsSinceEpoch()), status);
    const auto target = static_cast<UDate>(date.toMSecsSinceEpoch());
    int32_t amount = 0;
    URelativeDateTimeUnit unit = UDAT_REL_UNIT_SECOND; // all zero reads "now"
    for (const auto &[field, named] : units) {
        amount = steps->fieldDifference(target, field, status);
        if (amount != 0 || U_FAILURE(status)) {
            unit = named;
            break;
        }
    }
    icu::UnicodeString text;
    formatter->format(amount, unit, text, status);
    return U_SUCCESS(status) ? fromIcu(text) : fallback(date, locale, zone);
}

QLocale DateTexts::arabicLocale()
{
    const QLocale system = QLocale::system();
    if (system.language() == QLocale::C || system.territory() == QLocale::AnyTerritory)
        return QLocale(QLocale::Arabic);
    return QLocale(QLocale::Arabic, system.territory());
}

QString DateTexts::reminder(const QDateTime &date, const QLocale &locale, const QTimeZone &zone)
{
    return detail(&Formatters::reminder, u"dMMMMjmm", date, locale, zone);
}

QString DateTexts::creation(const QDateTime &date, const QLocale &locale, const QTimeZone &zone)
{
    return detail(&Formatters::creation, u"yMMMMdjmm", date, locale, zone);
}
