// Store costs at 1,000, 10,000 and 100,000 ideas: opening, the newest-first reads (all,
// and the first page the list shows), counting, inserting one idea and completing one.
#include "BenchStore.h"
#include "IdeaStore.h"
#include "Vocabulary.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

namespace {

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

void firstPageOfTheList(benchmark::State &state)
{
    auto store = IdeaStore::open(storeWith(int(state.range(0)))).store;
    const IdeaStore::Selection active{Vocabulary::active(), {}, false};
    for (auto _ : state)
        benchmark::DoNotOptimize(store->page(active, std::nullopt, 60));
}

void countDone(benchmark::State &state)
{
    auto store = IdeaStore::open(storeWith(int(state.range(0)))).store;
    const IdeaStore::Selection done{Vocabulary::done(), {}, false};
    for (auto _ : state)
        benchmark::DoNotOptimize(store->count(done));
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
    for (auto _ : state) {
        idea.status = Vocabulary::toggledStatus(idea.status);
        idea.updatedAt = QDateTime::currentDateTimeUtc();
        benchmark::DoNotOptimize(store->update(idea));
    }
}

} // namespace

#define SIZES Arg(1'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)

BENCHMARK(openOnly)->SIZES;
BENCHMARK(openAndReadAll)->SIZES;
BENCHMARK(readAllNewestFirst)->SIZES;
BENCHMARK(firstPageOfTheList)->SIZES;
BENCHMARK(countDone)->SIZES;
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
