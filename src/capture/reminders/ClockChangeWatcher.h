#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QStringList>

class QSocketNotifier;

// Tells when the wall clock was set (by hand, by NTP stepping it, or on resume) or the
// system's time zone may have changed, so whatever waits for a wall-clock moment can
// look again at once.
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
    void watch(const QString &file);
    void fileTouched();

    int m_timer = -1;
    QSocketNotifier *m_notifier = nullptr;
    // The zone's file (and, in test builds, the file the acceptance tests move the
    // program's clock through), with their folders, where a replacement shows.
    QStringList m_files;
    QFileSystemWatcher m_fileWatcher;
};
