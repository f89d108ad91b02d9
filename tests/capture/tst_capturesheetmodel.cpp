#include "CaptureSheetModel.h"
#include "FakeNotificationCenter.h"
#include "IdeaStore.h"
#include "ReminderOption.h"
#include "TestFolders.h"

#include <QSignalSpy>
#include <sqlite3.h>
#include <QtTest>

class TestCaptureSheetModel : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<IdeaStore> store;
    FakeNotificationCenter notifications;
    int storeNumber = 0;

private slots:
    void init()
    {
        store = IdeaStore::open(folders.path() + QString("/sheet%1.sqlite").arg(++storeNumber)).store;
        QVERIFY(store);
        notifications.requests.clear();
    }

    void cleanup() { store.reset(); }

    void trimsOnlySpacesAndTabs_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("stored");
        QTest::newRow("spaces and tabs") << " \t فكرة \t " << "فكرة";
        QTest::newRow("inner spaces stay") << "  اشتر  حليب " << "اشتر  حليب";
        QTest::newRow("no-break and ideographic spaces") << "\u00A0\u3000فكرة\u2009" << "فكرة";
        QTest::newRow("line breaks stay") << "\n فكرة \n" << "\n فكرة \n";
        QTest::newRow("only newlines") << "\n\n" << "\n\n";
        QTest::newRow("only blanks") << " \t \u00A0" << "";
    }

    void trimsOnlySpacesAndTabs()
    {
        QFETCH(QString, typed);
        QFETCH(QString, stored);
        QCOMPARE(CaptureSheetModel::trimmedTitle(typed), stored);
    }

    void dictationIsJoinedWithOneSpace()
    {
        QCOMPARE(CaptureSheetModel::joinedTitle("", "نص"), "نص");
        QCOMPARE(CaptureSheetModel::joinedTitle("فكرة", "نص"), "فكرة نص");
        QCOMPARE(CaptureSheetModel::joinedTitle("فكرة ", "نص"), "فكرة  نص");

        CaptureSheetModel model(store.get(), &notifications);
        model.setTitle("مكتوب");
        model.recorder()->setTranscribedText("منطوق");
        model.useTranscribedText();
        QCOMPARE(model.title(), "مكتوب منطوق");
        QCOMPARE(model.recorder()->transcribedText(), "");
    }

    void aBlankTitleSavesNothing()
    {
        CaptureSheetModel model(store.get(), &notifications);
        QVERIFY(!model.canSave());
        QVERIFY(!model.save());
        model.setTitle(" \t ");
        QVERIFY(!model.canSave());
        QVERIFY(!model.save());
        QVERIFY(store->allIdeas().isEmpty());

        model.setTitle("\n");
        QVERIFY(model.canSave());
        QVERIFY(model.save());
        QCOMPARE(store->allIdeas().first().title, "\n");
    }

    void savingStoresTheIdeaAndItsReminder()
    {
        CaptureSheetModel model(store.get(), &notifications);
        QCOMPARE(model.selectedCategory(), "فكرة");
        model.setTitle("  موعد الأسنان  ");
        model.setSelectedCategory("مهمة");
        model.tapReminder(0);
        model.recorder()->setTranscribedText("نص لم يستخدم");

        const QDateTime before = QDateTime::currentDateTimeUtc();
        QVERIFY(model.save());
        const QList<Idea> ideas = store->allIdeas();
        QCOMPARE(ideas.size(), 1);
        const Idea &idea = ideas.first();
        QCOMPARE(idea.title, "موعد الأسنان");
        QCOMPARE(idea.body, "");
        QCOMPARE(idea.category, "مهمة");
        QCOMPARE(idea.status, "active");
        QVERIFY(idea.hasReminder);
        QVERIFY(!idea.isVoiceNote);
        const QDateTime expected = ReminderOption::allCases().first().date(before);
        QCOMPARE(idea.reminderDate->toMSecsSinceEpoch(), expected.toMSecsSinceEpoch());

        QCOMPARE(notifications.requests.size(), 1);
        QCOMPARE(notifications.requests.first().identifier, idea.idText());
    }

    void aFailedSaveKeepsTheSheetAndSaysWhy()
    {
        sqlite3 *raw = nullptr;
        QCOMPARE(sqlite3_open(store->path().toUtf8(), &raw), SQLITE_OK);
        QCOMPARE(sqlite3_exec(raw, "CREATE TRIGGER refuse BEFORE INSERT ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END",
                              nullptr, nullptr, nullptr),
                 SQLITE_OK);
        sqlite3_close(raw);

        CaptureSheetModel model(store.get(), &notifications);
        model.setTitle("ما تنحفظ");
        model.tapReminder(1);
        QVERIFY(!model.save());
        QCOMPARE(model.saveError(), IdeaStore::writeFailureMessage());
        QCOMPARE(model.title(), "ما تنحفظ");
        QVERIFY(notifications.requests.isEmpty());
    }

    void tappingTheChosenReminderAgainClearsIt()
    {
        CaptureSheetModel model(store.get(), &notifications);
        QSignalSpy changed(&model, &CaptureSheetModel::selectedReminderChanged);
        model.tapReminder(2);
        QCOMPARE(model.selectedReminder(), 2);
        model.tapReminder(4);
        QCOMPARE(model.selectedReminder(), 4);
        model.tapReminder(4);
        QCOMPARE(model.selectedReminder(), -1);
        model.tapReminder(7);
        QCOMPARE(model.selectedReminder(), -1);
        QCOMPARE(changed.size(), 3);

        model.setTitle("بدون تذكير");
        QVERIFY(model.save());
        const Idea idea = store->allIdeas().first();
        QVERIFY(!idea.hasReminder);
        QVERIFY(!idea.reminderDate);
        QVERIFY(notifications.requests.isEmpty());
    }

    void withoutAnEngineDictationSaysItIsUnavailable()
    {
        CaptureSheetModel model(store.get(), &notifications);
        model.tapVoiceButton();
        QTRY_COMPARE(model.recorder()->errorMessage(), "التعرف على الكلام غير متوفر");
        QVERIFY(!model.recorder()->isRecording());
        QVERIFY(!model.showPermissionAlert());
    }
};

QTEST_GUILESS_MAIN(TestCaptureSheetModel)
#include "tst_capturesheetmodel.moc"
