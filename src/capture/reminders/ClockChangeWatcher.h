#pragma once

#include <QObject>

#ifdef FIKRANEST_TEST_HOOKS
#include <QFileSystemWatcher>
#endif

class QSocketNotifier;

// Tells when the wall clock was set (by hand, by NTP stepping it, or on resume), so
// whatever waits for a wall-clock moment can look again at once.
class ClockChangeWatcher : public QObject
{
    Q_OBJECT

public:
    explicit ClockChangeWatcher(QObject *parent = nullptr);
    ~ClockChangeWatcher() override;

signals:
    void changed();

private:
    void arm();
    void readable();

    int m_timer = -1;
    QSocketNotifier *m_notifier = nullptr;
#ifdef FIKRANEST_TEST_HOOKS
    // The acceptance tests move the program's clock through this file.
    void offsetFileTouched();
    QString m_offsetFile;
    QFileSystemWatcher m_offsetWatcher;
#endif
};
