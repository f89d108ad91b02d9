#include "ClockChangeWatcher.h"

#include <QSocketNotifier>

#ifdef FIKRANEST_TEST_HOOKS
#include <QFileInfo>
#endif

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
#ifdef FIKRANEST_TEST_HOOKS
    m_offsetFile = qEnvironmentVariable("FIKRANEST_CLOCK_OFFSET_FILE");
    if (!m_offsetFile.isEmpty()) {
        connect(&m_offsetWatcher, &QFileSystemWatcher::fileChanged, this, &ClockChangeWatcher::offsetFileTouched);
        connect(&m_offsetWatcher, &QFileSystemWatcher::directoryChanged, this,
                &ClockChangeWatcher::offsetFileTouched);
        const QString folder = QFileInfo(m_offsetFile).absolutePath();
        if (QFileInfo::exists(folder))
            m_offsetWatcher.addPath(folder);
        if (QFileInfo::exists(m_offsetFile))
            m_offsetWatcher.addPath(m_offsetFile);
    }
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

#ifdef FIKRANEST_TEST_HOOKS
void ClockChangeWatcher::offsetFileTouched()
{
    // Written by rename, the file is a new one each time: watch whichever is there now.
    if (QFileInfo::exists(m_offsetFile) && !m_offsetWatcher.files().contains(m_offsetFile))
        m_offsetWatcher.addPath(m_offsetFile);
    emit changed();
}
#endif
