// Kept reminders at 1,000, 10,000 and 100,000 pending: what the program pays before its
// window (making the centre), and what it pays after (reading and scheduling them all,
// on a worker thread and then on the main thread).
#include "DesktopNotificationCenter.h"
#include "ReminderFile.h"

#include <QCoreApplication>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

QString fileWith(QTemporaryDir &folder, int count)
{
    QList<NotificationRequest> requests;
    for (int i = 0; i < count; ++i)
        requests.append({QStringLiteral("%1-reminder").arg(i), QStringLiteral("الفكرون 🗑️"),
                         QStringLiteral("موعدك مع فكرتك حان.. لا تطنشها 😤 %1").arg(i), QStringLiteral("default"),
                         {2030, 1 + i % 12, 1 + i % 28, i % 24, i % 60}});
    const QString path = folder.filePath(QStringLiteral("reminders.json"));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !file.write(ReminderFile::write(requests)) || !file.commit())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

// No bus: nothing is due, and the centre only listens for the server.
QDBusConnection noBus()
{
    return QDBusConnection(QStringLiteral("none"));
}

void beforeTheWindow(benchmark::State &state)
{
    QTemporaryDir folder;
    const QString path = fileWith(folder, int(state.range(0)));
    for (auto _ : state)
        DesktopNotificationCenter center(path, noBus());
}

void readAndScheduleAll(benchmark::State &state)
{
    QTemporaryDir folder;
    const QString path = fileWith(folder, int(state.range(0)));
    for (auto _ : state) {
        DesktopNotificationCenter center(path, noBus());
        center.start();
        center.reschedule();
    }
}

} // namespace

BENCHMARK(beforeTheWindow)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(readAndScheduleAll)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
