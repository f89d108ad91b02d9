#include "IdeaActions.h"
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

private slots:
    // Trimmed like the capture sheet, stored without reminder; the confirmation's timer
    // is never pushed back by a newer save; the recent ideas are the three newest active ones. A refused write keeps the text and says why.
    void quickCaptureAndRecentIdeas()
    {
        auto store = IdeaStore::open(folders.path() + "/panel.sqlite").store;
        qint64 now = 0;
        std::multimap<qint64, std::function<void()>> due;
        MenuBarModel model(store.get(), [&](int ms, std::function<void()> action) { due.emplace(now + ms, action); });
        const auto advanceTo = [&](qint64 until) {
            for (now = until; !due.empty() && due.begin()->first <= until; due.erase(due.begin()))
                due.begin()->second();
            return model.saved();
        };
        const auto saveAs = [&](const QString &text) { model.setNewIdeaText(text); model.save(); };
        const auto recentTitles = [&] {
            QStringList titles;
            for (const QVariant &idea : model.recentIdeas())
                titles << idea.toMap().value("title").toString();
            return titles;
        };

        saveAs(" \t  ");
        QVERIFY(store->allIdeas().isEmpty() && !model.saved() && model.recentIdeas().isEmpty());

        model.setSelectedCategory("مهمة");
        saveAs("\t اشتري خبز  ");
        const Idea stored = store->allIdeas().value(0);
        QCOMPARE(QStringList({stored.title, stored.category, stored.body, model.selectedCategory()}),
                 QStringList({"اشتري خبز", "مهمة", "", "مهمة"}));
        QVERIFY(!stored.hasReminder && model.saved() && model.newIdeaText().isEmpty());
        advanceTo(1000);
        saveAs("ثانية");
        QVERIFY(advanceTo(1499) && !advanceTo(1500));

        saveAs("ثالثة");
        saveAs("رابعة");
        QCOMPARE(recentTitles(), QStringList({"رابعة", "ثالثة", "ثانية"}));
        IdeaActions(store.get(), nullptr).markDone(store->allIdeas()[0].recordId(), store->allIdeas()[0].idText());
        QCOMPARE(recentTitles(), QStringList({"ثالثة", "ثانية", "اشتري خبز"}));

        sqlite3 *raw = nullptr;
        sqlite3_open(store->path().toUtf8(), &raw);
        sqlite3_exec(raw, "CREATE TRIGGER refuse BEFORE INSERT ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END", {}, {}, {});
        sqlite3_close(raw);
        saveAs("ما تنحفظ");
        QCOMPARE(QStringList({model.saveError(), model.newIdeaText()}), QStringList({IdeaStore::writeFailureMessage(), "ما تنحفظ"}));
    }
};

QTEST_GUILESS_MAIN(TestMenuBarModel)
#include "tst_menubarmodel.moc"
