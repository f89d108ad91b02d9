#include "FakeNotificationCenter.h"
#include "IdeaDetailModel.h"
#include "IdeaFeedModel.h"
#include "IdeaListModel.h"
#include "IdeaStore.h"
#include "IdeasListState.h"
#include "TestFolders.h"
#include "Vocabulary.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>

#include <sqlite3.h>

namespace {

QStringList titles(const QAbstractItemModel &model)
{
    QStringList result;
    for (int row = 0; row < model.rowCount(); ++row)
        result << model.index(row, 0).data(IdeaListModel::TitleRole).toString();
    return result;
}

} // namespace

class TestBrowse : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<IdeaStore> store;
    FakeNotificationCenter center;
    int storeNumber = 0;

    Idea add(const QString &title, qint64 createdAt, const QString &category = "فكرة", bool reminder = false)
    {
        const auto when = reminder ? std::optional(QDateTime::fromMSecsSinceEpoch(createdAt + 60'000, Qt::UTC))
                                   : std::nullopt;
        Idea idea = Idea::make(title, "", category, reminder, when, false,
                               QDateTime::fromMSecsSinceEpoch(createdAt, Qt::UTC));
        store->insert(idea);
        return idea;
    }

    // Runs SQL behind the store's back, as a full disk or another writer would act.
    void rawSql(const char *sql)
    {
        sqlite3 *raw = nullptr;
        sqlite3_open(qPrintable(store->path()), &raw);
        QCOMPARE(sqlite3_exec(raw, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
    }

    std::unique_ptr<IdeasListState> listState()
    {
        return std::make_unique<IdeasListState>(store.get(), &center, [](int, std::function<void()>) {},
                                                SecureRandom::systemWord);
    }

private slots:
    void init()
    {
        store = std::move(IdeaStore::open(folders.path() + QString("/s%1.sqlite").arg(++storeNumber)).store);
        center.requests.clear();
    }

    void cleanup() { store.reset(); }

    // Random writes, filter switches, foldings and scrolling on, over more ideas than a
    // page, checked after every step against a fresh read of the store: what is read
    // is always the newest part of what should be there, the done header comes once
    // every active idea is in, and a single write never resets a model.
    void listsFollowTheStoreRowByRow()
    {
        QList<Idea> ideas;
        QRandomGenerator random(7);
        for (int i = 0; i < IdeaListModel::firstPage + 40; ++i)
            ideas << add(QString("قديمة %1").arg(i), random.bounded(40) * 1000);
        const auto state = listState();
        IdeaListModel *active = state->activeIdeas();
        IdeaFeedModel *feed = state->rows();
        QAbstractItemModelTester activeTester(active), doneTester(state->doneIdeas()), feedTester(feed);
        QSignalSpy resets(feed, &QAbstractItemModel::modelReset);
        const QStringList labels = Vocabulary::filterLabels();
        for (int step = 0; step < 400; ++step) {
            const int choice = int(random.bounded(12));
            const qsizetype resetsBefore = resets.size();
            if (choice < 3 || ideas.isEmpty()) {
                // Equal creation times on purpose: the order must still be stable.
                ideas << add(QString::number(step), random.bounded(40) * 1000,
                             Vocabulary::categories().at(random.bounded(3)), random.bounded(2));
            } else if (choice < 6) {
                Idea &idea = ideas[random.bounded(int(ideas.size()))];
                idea.status = Vocabulary::toggledStatus(idea.status);
                idea.hasReminder = random.bounded(2);
                store->update(idea);
            } else if (choice < 7) {
                store->remove(ideas.takeAt(random.bounded(int(ideas.size()))));
            } else if (choice < 9) {
                state->setSelectedCategory(labels.at(random.bounded(int(labels.size()))));
            } else if (choice < 10) {
                state->setShowDoneSection(!state->showDoneSection());
            } else {
                feed->fetchMore();
            }
            if (choice < 7 || choice > 9)
                QCOMPARE(resets.size(), resetsBefore);

            QStringList expectActive, expectDone;
            for (const Idea &idea : store->allIdeas()) {
                if (idea.status == Vocabulary::done())
                    expectDone << idea.title;
                else if (IdeaListModel::passes(idea, state->selectedCategory()))
                    expectActive << idea.title;
            }
            const QStringList shownActive = titles(*active), shownDone = titles(*state->doneIdeas());
            QCOMPARE(shownActive, expectActive.first(shownActive.size()));
            QCOMPARE(shownDone, expectDone.first(shownDone.size()));
            QVERIFY(active->canFetchMore() || shownActive.size() == expectActive.size());
            QStringList expectFeed = shownActive;
            const bool header = !active->canFetchMore() && !expectDone.isEmpty();
            if (header)
                expectFeed << QString() << (state->showDoneSection() ? shownDone : QStringList());
            QCOMPARE(titles(*feed), expectFeed);
            if (header) {
                const QModelIndex row = feed->index(int(shownActive.size()));
                QCOMPARE(row.data(IdeaFeedModel::KindRole).toString(), "doneHeader");
                QCOMPARE(row.data(IdeaFeedModel::DoneCountRole).toInt(), expectDone.size());
            }
        }
    }

    // Completing writes status and time and keeps the reminder; a delete the store
    // refuses keeps it too; a gone record is said to be gone.
    void actionsLoseNothing()
    {
        const auto state = listState();
        const Idea idea = add("موعد", 1000, "مهمة", true);
        center.add({idea.idText(), "t", "b", "default", {}});
        const QDateTime before = AppClock::now();
        state->markDone(idea.recordId(), idea.idText());
        const std::optional<Idea> done = store->find(idea.recordId(), idea.id);
        QVERIFY(done && done->status == "done" && done->updatedAt >= before);
        QCOMPARE(center.requests.size(), 1);

        rawSql("CREATE TRIGGER refuse BEFORE DELETE ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END");
        state->remove(idea.recordId(), idea.idText());
        QCOMPARE(state->errorMessage(), IdeaStore::writeFailureMessage());
        QCOMPARE(center.requests.size(), 1);
        rawSql("DROP TRIGGER refuse");

        state->remove(idea.recordId(), idea.idText());
        state->markDone(idea.recordId(), idea.idText());
        QCOMPARE(state->errorMessage(), IdeaStore::goneMessage());
    }

    // A refused edit is owed, and paid when the view goes away; a record deleted
    // meanwhile is never written back.
    void detailEditsWithoutASaveButton()
    {
        const Idea idea = add("قبل", 1000);
        auto detail = std::make_unique<IdeaDetailModel>(store.get(), &center);
        detail->load(idea.recordId(), idea.idText());
        detail->setTitle("بعد");  // the field echoing what it was given, reshaped
        detail->beginEditing();
        // A refused write is owed, not dropped: leaving the view pays it.
        rawSql("CREATE TRIGGER refuse BEFORE UPDATE ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END");
        detail->setBody("تفاصيل");
        QVERIFY(!detail->flush());
        QCOMPARE(detail->errorMessage(), IdeaStore::writeFailureMessage());
        rawSql("DROP TRIGGER refuse");
        detail.reset();
        QCOMPARE(store->find(idea.recordId(), idea.id)->body, "تفاصيل");
        QCOMPARE(store->find(idea.recordId(), idea.id)->title, "قبل");

        detail = std::make_unique<IdeaDetailModel>(store.get(), &center);
        detail->load(idea.recordId(), idea.idText());
        store->remove(*store->find(idea.recordId(), idea.id));
        const Idea other = add("غيرها", 2000);
        QCOMPARE(other.recordId(), idea.recordId());
        QVERIFY(!detail->found());
        detail->beginEditing();
        detail->setTitle("قديمة");
        QVERIFY(detail->flush());
        QCOMPARE(store->find(other.recordId(), other.id)->title, "غيرها");
    }
};

QTEST_GUILESS_MAIN(TestBrowse)
#include "tst_browse.moc"
