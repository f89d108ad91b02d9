#include "IdeaActions.h"
#include "IdeaStore.h"
#include "MenuBarModel.h"
#include "TestFolders.h"

#include <sqlite3.h>
#include <QtTest>

class TestMenuBarModel : public QObject
{
    Q_OBJECT

    TestFolders folders;

private slots:
    // The recent ideas are the three newest active ones; a refused write keeps the text and says why.
    void recentIdeasAndARefusedSave()
    {
        auto store = IdeaStore::open(folders.path() + "/panel.sqlite").store;
        MenuBarModel model(store.get(), [](int, std::function<void()>) {});
        const auto saveAs = [&](const QString &text) { model.setNewIdeaText(text); model.save(); };
        const auto recentTitles = [&] {
            QStringList titles;
            for (const QVariant &idea : model.recentIdeas())
                titles << idea.toMap().value("title").toString();
            return titles;
        };

        for (const char *title : {"أولى", "ثانية", "ثالثة", "\n \r\nرابعة\nوبعدها"})
            saveAs(title);
        // A title that starts with a line break shows its first line with text.
        QCOMPARE(recentTitles(), QStringList({"رابعة", "ثالثة", "ثانية"}));
        IdeaActions(store.get(), nullptr).markDone(store->allIdeas()[0].recordId(), store->allIdeas()[0].idText());
        QCOMPARE(recentTitles(), QStringList({"ثالثة", "ثانية", "أولى"}));

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
