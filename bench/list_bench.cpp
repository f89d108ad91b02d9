// The ideas list end to end: a change goes through the store and the list models at
// 1,000, 10,000 and 100,000 ideas, and at 100,000 with the view shown, on to the next
// rendered frame. Also reports the resident memory with the list on screen.
#include "BenchStore.h"
#include "FikranestApp.h"
#include "IdeaListModel.h"
#include "IdeasListState.h"
#include "SyncStatus.h"
#include "Vocabulary.h"

#include <QApplication>
#include <QFile>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <benchmark/benchmark.h>

#include <map>

Q_IMPORT_QML_PLUGIN(FikranestPlugin)

namespace {

constexpr int shownCount = 100'000;

IdeaStore &store(int count = shownCount)
{
    static std::map<int, std::unique_ptr<IdeaStore>> opened;
    std::unique_ptr<IdeaStore> &store = opened[count];
    if (!store)
        store = IdeaStore::open(storeWith(count)).store;
    return *store;
}

double residentMegabytes()
{
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0;
}

// The real list view in a window, over the shared store.
struct ShownList
{
    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
    IdeasListState *state = nullptr;

    ShownList()
    {
        engine.addImportPath(QStringLiteral("qrc:/"));
        QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Fikranest/IdeasListView.qml")));
        window = std::make_unique<QQuickWindow>();
        window->resize(440, 720);
        auto *view = qobject_cast<QQuickItem *>(component.create());
        if (!view)
            qFatal("%s", qPrintable(component.errorString()));
        view->setParentItem(window->contentItem());
        view->setSize(window->size());
        state = view->findChild<IdeasListState *>();
        window->show();
        frame();
    }
    void frame() { benchmark::DoNotOptimize(window->grabWindow()); }
};

ShownList &shown()
{
    static ShownList list;
    return list;
}

// Each round changes the newest active idea, of which there are always plenty.
void runModelRounds(benchmark::State &state, IdeasListState &list, IdeaStore &store, bool render)
{
    const QStringList labels = Vocabulary::filterLabels();
    int label = 0;
    for (auto _ : state) {
        switch (state.range(0)) {
        case 0:
            list.setSelectedCategory(labels.at(++label % labels.size()));
            break;
        case 1: {
            const Idea &idea = list.activeIdeas()->ideaAt(0);
            list.markDone(idea.recordId(), idea.idText());
            break;
        }
        case 2: {
            Idea idea = Idea::make("فكرة جديدة", "", "فكرة", false, std::nullopt, false);
            store.insert(idea);
            break;
        }
        case 3: {
            const Idea &idea = list.activeIdeas()->ideaAt(0);
            list.remove(idea.recordId(), idea.idText());
            break;
        }
        }
        // As a view does at the end of what it has: the list reads on before it runs out.
        IdeaListModel *rows = list.activeIdeas();
        while (rows->rowCount() < 10 && rows->canFetchMore())
            rows->fetchMore();
        // A refused write would be measured as a fast one.
        if (!list.errorMessage().isEmpty()) {
            state.SkipWithError(qPrintable(list.errorMessage()));
            return;
        }
        if (render)
            shown().frame();
    }
}

void throughModels(benchmark::State &state)
{
    IdeaStore &ideas = store(int(state.range(1)));
    IdeasListState list(&ideas, nullptr, [](int, std::function<void()>) {}, SecureRandom::systemWord);
    runModelRounds(state, list, ideas, false);
}

void throughModelsToFrame(benchmark::State &state)
{
    runModelRounds(state, *shown().state, store(), true);
}

// Memory with the list on screen, before anything changes it.
void listShown(benchmark::State &state)
{
    for (auto _ : state)
        shown().frame();
    state.counters["resident_MB"] = residentMegabytes();
}

} // namespace

BENCHMARK(listShown)->Iterations(3)->Unit(benchmark::kMillisecond);
// 0: filter switch, 1: mark done, 2: insert, 3: delete; then the number of ideas.
BENCHMARK(throughModels)
    ->ArgsProduct({{0, 1, 2, 3}, {1'000, 10'000, 100'000}})
    ->ArgNames({"change", "ideas"})
    // Fewer rounds than the smallest store has active ideas to complete or delete.
    ->Iterations(200)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(throughModelsToFrame)->DenseRange(0, 3)->Iterations(200)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    QApplication application(argc, argv);
    FikranestApp::prepare(application);
    IdeaStore::setShared(&store());
    SyncStatus sync(SyncStatus::Mode::localOnly(SyncStatus::entitlementMissing()));
    SyncStatus::setShared(&sync);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
