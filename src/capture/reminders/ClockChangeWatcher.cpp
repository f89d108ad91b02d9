#include "ClockChangeWatcher.h"

#include "AppClock.h"

#include <QFileInfo>
#include <QSocketNotifier>

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <limits>

ClockChangeWatcher::ClockChangeWatcher(QObject *parent)
    : QObject(parent)
{
    // A timer that never expires, only there to be cancelled when CLOCK_REALTIME is set.
    m_timer = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (m_timer >= 0) {
        arm();
        m_notifier = new QSocketNotifier(m_timer, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &ClockChangeWatcher::readable);
    }
    connect(&m_fileWatcher, &QFileSystemWatcher::fileChanged, this, &ClockChangeWatcher::fileTouched);
    connect(&m_fileWatcher, &QFileSystemWatcher::directoryChanged, this, &ClockChangeWatcher::fileTouched);
    // Linux says nothing when the zone changes; the C library reads it from this file.
    watch(AppClock::timeZoneFile());
#ifdef FIKRANEST_TEST_HOOKS
    watch(qEnvironmentVariable("FIKRANEST_CLOCK_OFFSET_FILE"));
#endif
}

ClockChangeWatcher::~ClockChangeWatcher()
{
    // The notifier must not outlive the descriptor it polls.
    delete m_notifier;
    if (m_timer >= 0)
        close(m_timer);
}

void ClockChangeWatcher::arm()
{
    itimerspec never{};
    never.it_value.tv_sec = std::numeric_limits<time_t>::max();
    timerfd_settime(m_timer, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
}

void ClockChangeWatcher::readable()
{
    std::uint64_t expirations = 0;
    if (read(m_timer, &expirations, sizeof expirations) < 0 && errno == ECANCELED) {
        arm();
        emit changed();
    }
}

void ClockChangeWatcher::watch(const QString &file)
{
    if (file.isEmpty())
        return;
    m_files.append(file);
    const QString folder = QFileInfo(file).absolutePath();
    if (QFileInfo::exists(folder))
        m_fileWatcher.addPath(folder);
    if (QFileInfo::exists(file))
        m_fileWatcher.addPath(file);
}

void ClockChangeWatcher::fileTouched()
{
    // Replaced by a rename or a new link, a file is another one: watch whichever is there now.
    for (const QString &file : std::as_const(m_files)) {
        m_fileWatcher.removePath(file);
        if (QFileInfo::exists(file))
            m_fileWatcher.addPath(file);
    }
    emit changed();
}
