#include "ClockChangeWatcher.h"

#include <QSaveFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestClockChangeWatcher : public QObject
{
    Q_OBJECT

    static bool write(const QString &path, const QByteArray &content)
    {
        QSaveFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
    }

private slots:
    // Setting the real clock needs privileges a test must not use; the test builds'
    // clock offset file goes through the same signal.
    void movingTheTestClockCountsAsSettingTheClock()
    {
        QTemporaryDir folder;
        const QString offset = folder.filePath(QStringLiteral("clock-offset"));
        qputenv("FIKRANEST_CLOCK_OFFSET_FILE", offset.toUtf8());
        ClockChangeWatcher watcher;
        QSignalSpy changed(&watcher, &ClockChangeWatcher::changed);

        // Created after the watcher started, then replaced, as the acceptance tests move it.
        for (const QByteArray offsetMs : {"3600000", "7200000"}) {
            changed.clear();
            QVERIFY(write(offset, offsetMs));
            QTRY_VERIFY(changed.size() > 0);
        }
        qunsetenv("FIKRANEST_CLOCK_OFFSET_FILE");
    }
};

QTEST_GUILESS_MAIN(TestClockChangeWatcher)
#include "tst_clockchangewatcher.moc"
