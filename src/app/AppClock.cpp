#include "AppClock.h"

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
