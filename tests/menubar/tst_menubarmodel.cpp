#include "IdeaStore.h"
#include "MenuBarModel.h"
#include "TestFolders.h"

#include <sqlite3.h>
#include <QtTest>

#include <map>

class TestMenuBarModel : public QObject
{
    Q_OBJECT

    TestFolders folders;

    static QStringList titles(const QVariantList &recent)
    {
        QStringList result;
        for (const QVariant &idea : recent)
            result << idea.toMap().value("title").toString();
        return result;
    }

private slots:
    // Trimmed like the capture sheet, stored without reminder; the confirmation's timer
    // is never pushed back by a newer save. A refused write keeps the text and says why.
    void quickCaptureAndRecentIdeas()
    {
        auto store = IdeaStore::open(folders.path() + "/panel.sqlite").store;
        QVERIFY(store);
        qint64 now = 0;
        std::multimap<qint64, std::function<void()>> due;
        MenuBarModel model(store.get(), [&](int ms, std::function<void()> action) { due.emplace(now + ms, action); });
        const auto advanceTo = [&](qint64 until) {
            for (now = until; !due.empty() && due.begin()->first <= until; due.erase(due.begin()))
                due.begin()->second();
        };

        model.setNewIdeaText(" \t  ");
        model.save();
        QVERIFY(store->allIdeas().isEmpty());
        QVERIFY(!model.saved());
        QVERIFY(model.recentIdeas().isEmpty());

        model.setSelectedCategory("مهمة");
        model.setNewIdeaText("\t اشتري خبز  ");
        model.save();
        const Idea stored = store->allIdeas().value(0);
        QCOMPARE(QStringList({stored.title, stored.category, stored.body}), QStringList({"اشتري خبز", "مهمة", ""}));
        QVERIFY(!stored.hasReminder && model.saved() && model.newIdeaText().isEmpty());
        QCOMPARE(model.selectedCategory(), "مهمة");
        advanceTo(1000);
        model.setNewIdeaText("ثانية");
        model.save();
        advanceTo(1499);
        QVERIFY(model.saved());
        advanceTo(1500);
        QVERIFY(!model.saved());

        for (const char *title : {"ثالثة", "رابعة"}) {
            model.setNewIdeaText(title);
            model.save();
        }
        QCOMPARE(titles(model.recentIdeas()), QStringList({"رابعة", "ثالثة", "ثانية"}));
        Idea done = store->allIdeas().value(0);
        done.status = "done";
        store->update(done);
        QCOMPARE(titles(model.recentIdeas()), QStringList({"ثالثة", "ثانية", "اشتري خبز"}));

        sqlite3 *raw = nullptr;
        QCOMPARE(sqlite3_open(store->path().toUtf8(), &raw), SQLITE_OK);
        sqlite3_exec(raw, "CREATE TRIGGER refuse BEFORE INSERT ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END",
                     nullptr, nullptr, nullptr);
        sqlite3_close(raw);
        model.setNewIdeaText("ما تنحفظ");
        model.save();
        QCOMPARE(QStringList({model.saveError(), model.newIdeaText()}),
                 QStringList({IdeaStore::writeFailureMessage(), "ما تنحفظ"}));
        QCOMPARE(store->allIdeas().size(), 4);
    }
};

QTEST_GUILESS_MAIN(TestMenuBarModel)
#include "tst_menubarmodel.moc"
