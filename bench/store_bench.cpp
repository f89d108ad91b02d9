// Store costs at 1,000, 10,000 and 100,000 ideas: opening, the newest-first read,
// inserting one idea and completing one.
#include "IdeaStore.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <map>

namespace {

QTemporaryDir &folder()
{
    static QTemporaryDir dir;
    return dir;
}

// A store file holding `count` ideas, made once per size. The rows go in through one
// raw transaction: a hundred thousand durable single inserts would take minutes.
QString storeWith(int count)
{
    static std::map<int, QString> made;
    if (const auto found = made.find(count); found != made.end())
        return found->second;
    const QString path = folder().path() + QString("/ideas-%1.sqlite").arg(count);
    IdeaStore::open(path);

    sqlite3 *db = nullptr;
    sqlite3_open(path.toUtf8(), &db);
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt *insert = nullptr;
    sqlite3_prepare_v2(db,
                       "INSERT INTO Idea (id, title, body, category, status, hasReminder, reminderDate, "
                       "isVoiceNote, createdAt, updatedAt) VALUES (?, ?, '', ?, ?, ?, ?, 0, ?, ?)",
                       -1, &insert, nullptr);
    const QStringList categories = {"فكرة", "مهمة", "ملاحظة"};
    for (int i = 0; i < count; ++i) {
        const QByteArray id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toUtf8();
        const QByteArray title = QString("فكرة رقم %1 عن مشروع جديد 💡").arg(i).toUtf8();
        const QByteArray category = categories.at(i % 3).toUtf8();
        const qint64 created = 1'600'000'000'000 + qint64(i) * 60'000;
        sqlite3_bind_text(insert, 1, id.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, title.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 3, category.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 4, i % 4 == 0 ? "done" : "active", -1, SQLITE_STATIC);
        sqlite3_bind_int(insert, 5, i % 5 == 0);
        if (i % 5 == 0)
            sqlite3_bind_int64(insert, 6, created + 86'400'000);
        else
            sqlite3_bind_null(insert, 6);
        sqlite3_bind_int64(insert, 7, created);
        sqlite3_bind_int64(insert, 8, created);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(db, "COMMIT; PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    made[count] = path;
    return path;
}

void openAndReadAll(benchmark::State &state)
{
    const QString path = storeWith(int(state.range(0)));
    for (auto _ : state) {
        auto store = IdeaStore::open(path).store;
        benchmark::DoNotOptimize(store->allIdeas());
    }
}

void openOnly(benchmark::State &state)
{
    const QString path = storeWith(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(IdeaStore::open(path).store);
}

void readAllNewestFirst(benchmark::State &state)
{
    auto store = IdeaStore::open(storeWith(int(state.range(0)))).store;
    for (auto _ : state)
        benchmark::DoNotOptimize(store->allIdeas());
}

void readActiveNewestFirst(benchmark::State &state)
{
    auto store = IdeaStore::open(storeWith(int(state.range(0)))).store;
    for (auto _ : state)
        benchmark::DoNotOptimize(store->activeIdeas());
}

void insertOne(benchmark::State &state)
{
    auto store = IdeaStore::open(storeWith(int(state.range(0)))).store;
    for (auto _ : state) {
        Idea idea = Idea::make("فكرة جديدة", "", "فكرة", false, std::nullopt, false);
        benchmark::DoNotOptimize(store->insert(idea));
    }
}

void toggleStatusOfOne(benchmark::State &state)
{
    auto store = IdeaStore::open(storeWith(int(state.range(0)))).store;
    Idea idea = store->allIdeas().at(int(state.range(0)) / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(store->toggleStatus(idea));
}

} // namespace

#define SIZES Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)

BENCHMARK(openOnly)->SIZES;
BENCHMARK(openAndReadAll)->SIZES;
BENCHMARK(readAllNewestFirst)->SIZES;
BENCHMARK(readActiveNewestFirst)->SIZES;
BENCHMARK(insertOne)->SIZES;
BENCHMARK(toggleStatusOfOne)->SIZES;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
