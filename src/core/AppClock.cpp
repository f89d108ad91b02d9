#include "AppClock.h"

#include <QFile>
#include <QMutex>

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <optional>

namespace {

// A zone file holds a few kilobytes; a far larger one is no zone file.
constexpr qint64 largestZoneFile = 1 << 20;

// Tells one version of the zone file from another the way the C library does.
struct ZoneFileVersion
{
    QString file;
    dev_t device = 0;
    ino_t inode = 0;
    time_t modified = 0;
    long modifiedNs = 0;
    off_t size = 0;

    friend bool operator==(const ZoneFileVersion &, const ZoneFileVersion &) = default;
};

// The C library reads the file TZ names again only when TZ changes: name the same
// file another way for a moment.
void rereadNamedZone(const QString &file)
{
    const QByteArray tz = qgetenv("TZ");
    qputenv("TZ", ":/." + QFile::encodeName(file));
    tzset();
    qputenv("TZ", tz);
    tzset();
}

// Qt knows zones by name only: it cannot read the file TZ names, and takes the name
// of /etc/localtime from its link or /etc/timezone, which a copied file leaves behind.
// Name the file by the zone whose rules it holds byte for byte.
QTimeZone zoneInFile(const QString &file)
{
    // Where Qt and the C library both find zones by name.
    const QString zoneInfo = QStringLiteral("/usr/share/zoneinfo/");
    QFile zone(file);
    if (zone.open(QIODevice::ReadOnly) && zone.size() <= largestZoneFile) {
        const QByteArray rules = zone.readAll();
        QList<QByteArray> names = QTimeZone::availableTimeZoneIds();
        names.prepend(QTimeZone::systemTimeZoneId());
        for (const QByteArray &name : std::as_const(names)) {
            QFile named(zoneInfo + QString::fromUtf8(name));
            if (named.size() == rules.size() && named.open(QIODevice::ReadOnly) && named.readAll() == rules) {
                if (const QTimeZone found(name); found.isValid())
                    return found;
            }
        }
    }
    // Rules under no name found here: Qt's own guess if it keeps to the C library's
    // offset now, else at least that offset.
    const QTimeZone guess = QTimeZone::systemTimeZone();
    const int offset = QDateTime::currentDateTime().offsetFromUtc();
    return guess.offsetFromUtc(QDateTime::currentDateTimeUtc()) == offset ? guess : QTimeZone(offset);
}

} // namespace

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

QString AppClock::timeZoneFile()
{
    if (!qEnvironmentVariableIsSet("TZ"))
        return QStringLiteral("/etc/localtime");
    const QString tz = qEnvironmentVariable("TZ");
    const QString named = tz.startsWith(u':') ? tz.sliced(1) : tz;
    return named.startsWith(u'/') ? named : QString();
}

QTimeZone AppClock::timeZone()
{
    const QString file = timeZoneFile();
    if (file.isEmpty()) {
        // An empty TZ means UTC to the C library, and /etc/localtime to Qt.
        const QString tz = qEnvironmentVariable("TZ");
        return tz.isEmpty() || tz == u":" ? QTimeZone::utc() : QTimeZone::systemTimeZone();
    }
    struct stat status;
    if (stat(QFile::encodeName(file).constData(), &status) != 0)
        return QTimeZone::utc(); // as the C library does without its file
    const ZoneFileVersion version{file,
                                  status.st_dev,
                                  status.st_ino,
                                  status.st_mtim.tv_sec,
                                  status.st_mtim.tv_nsec,
                                  status.st_size};

    static QMutex mutex;
    static std::optional<std::pair<ZoneFileVersion, QTimeZone>> known;
    const QMutexLocker locker(&mutex);
    if (known && known->first == version)
        return known->second;
    if (known && qEnvironmentVariableIsSet("TZ"))
        rereadNamedZone(file);
    known.emplace(version, zoneInFile(file));
    return known->second;
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
