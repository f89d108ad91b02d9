#pragma once

#include <QDateTime>
#include <QTimeZone>

// The program's one source of "now". Test builds let the acceptance tests move it
// forward, the way a changed system clock would.
class AppClock
{
public:
    static QDateTime now();
    // The zone the system's local time is in now, as the C library reads it from the
    // file TZ names or /etc/localtime; it follows that file when it is replaced.
    static QTimeZone timeZone();
    // That file; empty when TZ names a zone or a rule instead.
    static QString timeZoneFile();

    // The instant a clock in `zone` shows `time` on `day`: the first one when the
    // clocks go back over it, the end of the jump when they skip it.
    static QDateTime firstInstantAt(QDate day, QTime time, const QTimeZone &zone);
};
