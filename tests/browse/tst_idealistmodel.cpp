#include "IdeaListModel.h"
#include "IdeaStore.h"
#include "TestFolders.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtTest>

class TestIdeaListModel : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<IdeaStore> store;
    int storeNumber = 0;

    static QList<qint64> rows(const IdeaListModel &model)
    {
        QList<qint64> ids;
        for (int row = 0; row < model.rowCount(); ++row)
            ids << model.data(model.index(row), IdeaListModel::RecordIdRole).toLongLong();
        return ids;
    }

    static QList<qint64> ids(const QList<Idea> &ideas)
    {
        QList<qint64> result;
        for (const Idea &idea : ideas)
            result << idea.recordId();
        return result;
    }

    Idea add(const QString &title, qint64 createdAt)
    {
        Idea idea = Idea::make(title, "", "مهمة", false, std::nullopt, false,
                               QDateTime::fromMSecsSinceEpoch(createdAt, Qt::UTC));
        store->insert(idea);
        return idea;
    }

private slots:
    void init()
    {
        IdeaStore::Opening opening = IdeaStore::open(folders.path() + QString("/store%1.sqlite").arg(++storeNumber));
        store = std::move(opening.store);
    }

    void cleanup() { store.reset(); }

    void rolesCarryTheRecord()
    {
        Idea idea = Idea::make("عنوان", "تفاصيل", "ملاحظة", true,
                               QDateTime::fromMSecsSinceEpoch(5000, Qt::UTC), true);
        store->insert(idea);
        IdeaListModel model(store.get());
        const QModelIndex index = model.index(0);
        const auto role = [&](const char *name) { return model.data(index, model.roleNames().key(name)); };
        QCOMPARE(role("ideaId").toString(), idea.idText());
        QCOMPARE(role("title").toString(), "عنوان");
        QCOMPARE(role("body").toString(), "تفاصيل");
        QCOMPARE(role("category").toString(), "ملاحظة");
        QCOMPARE(role("categoryEmoji").toString(), "📝");
        QCOMPARE(role("status").toString(), "active");
        QCOMPARE(role("hasReminder").toBool(), true);
        QCOMPARE(role("reminderDate").toDateTime().toMSecsSinceEpoch(), 5000);
        QCOMPARE(role("isVoiceNote").toBool(), true);
        QCOMPARE(role("createdAt").toDateTime(), idea.createdAt);
        QCOMPARE(model.data(index, Qt::DisplayRole).toString(), "عنوان");
        QVERIFY(!model.data(model.index(1), IdeaListModel::TitleRole).isValid());
    }

    void eachChangeTouchesOnlyItsRow()
    {
        const Idea older = add("older", 1000);
        Idea newer = add("newer", 2000);
        IdeaListModel model(store.get());
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        add("middle", 1500);
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(inserted.first().at(1).toInt(), 1);

        newer.title = "renamed";
        store->update(newer);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.first().first().toModelIndex().row(), 0);
        QCOMPARE(model.data(model.index(0), IdeaListModel::TitleRole).toString(), "renamed");
        QCOMPARE(reset.size(), 0);
        QCOMPARE(rows(model).last(), older.recordId());
    }

    // Random writes through the store; after each, every scope must read exactly as a
    // fresh query would.
    void followsTheStoreLikeAFreshRead()
    {
        IdeaListModel all(store.get());
        IdeaListModel active(store.get());
        active.setScope(IdeaListModel::Scope::active);
        IdeaListModel done(store.get());
        done.setScope(IdeaListModel::Scope::done);
        QAbstractItemModelTester allTester(&all, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester activeTester(&active, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester doneTester(&done, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy count(&active, &IdeaListModel::countChanged);

        QRandomGenerator random(20261121);
        for (int step = 0; step < 400; ++step) {
            QList<Idea> ideas = store->allIdeas();
            const int action = ideas.isEmpty() ? 0 : int(random.bounded(5));
            if (action <= 1) {
                // Few distinct times, so that ties are common.
                add(QString::number(step), 1000 * qint64(random.bounded(20)));
            } else if (action == 2) {
                Idea idea = ideas.at(int(random.bounded(qsizetype(ideas.size()))));
                store->toggleStatus(idea);
            } else if (action == 3) {
                Idea idea = ideas.at(int(random.bounded(qsizetype(ideas.size()))));
                idea.createdAt = QDateTime::fromMSecsSinceEpoch(1000 * qint64(random.bounded(20)), Qt::UTC);
                idea.title += "*";
                store->update(idea);
            } else {
                store->remove(ideas.at(int(random.bounded(qsizetype(ideas.size())))));
            }
            QList<Idea> expectedDone = store->allIdeas();
            expectedDone.removeIf([](const Idea &idea) { return idea.status != "done"; });
            QCOMPARE(rows(all), ids(store->allIdeas()));
            QCOMPARE(rows(active), ids(store->activeIdeas()));
            QCOMPARE(rows(done), ids(expectedDone));
        }
        QVERIFY(count.size() > 0);
        QCOMPARE(active.property("count").toInt(), store->activeIdeas().size());
    }
};

QTEST_GUILESS_MAIN(TestIdeaListModel)
#include "tst_idealistmodel.moc"
