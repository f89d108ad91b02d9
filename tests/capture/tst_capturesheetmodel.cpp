#include "AudioRecorder.h"
#include "CaptureSheetModel.h"
#include "FakeNotificationCenter.h"
#include "IdeaStore.h"
#include "SpeechEngine.h"
#include "TestFolders.h"

#include <QSignalSpy>
#include <sqlite3.h>
#include <QtTest>

namespace {

class FakeSpeechEngine : public SpeechEngine
{
public:
    bool available = true;
    bool startSucceeds = true;
    bool running = false;
    int starts = 0;
    int startsWhileRunning = 0;

    bool isAvailable() const override { return available; }
    bool start() override
    {
        ++starts;
        startsWhileRunning += running ? 1 : 0;
        return running = startSucceeds;
    }
    void stop() override { running = false; }
};

} // namespace

class TestCaptureSheetModel : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<IdeaStore> store;
    FakeNotificationCenter notifications;
    std::optional<CaptureSheetModel> model;
    int storeNumber = 0;

private slots:
    void init()
    {
        model.reset();
        store = IdeaStore::open(folders.path() + QString("/sheet%1.sqlite").arg(++storeNumber)).store;
        QVERIFY(store);
        notifications.requests.clear();
        model.emplace(store.get(), &notifications);
    }

    // Spaces and tabs of any kind go from the ends; a title of nothing else is not saved.
    void savesTheTitleTrimmedOfSpacesOnly_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("stored");
        QTest::newRow("spaces and tabs") << " \t فكرة \t " << "فكرة";
        QTest::newRow("inner spaces stay") << "  اشتر  حليب " << "اشتر  حليب";
        QTest::newRow("no-break and ideographic spaces") << "\u00A0\u3000فكرة\u2009" << "فكرة";
        QTest::newRow("line breaks stay") << "\n فكرة \n" << "\n فكرة \n";
        QTest::newRow("only newlines") << "\n\n" << "\n\n";
        QTest::newRow("only blanks") << " \t \u00A0" << "";
        QTest::newRow("nothing") << "" << "";
    }

    void savesTheTitleTrimmedOfSpacesOnly()
    {
        QFETCH(QString, typed);
        QFETCH(QString, stored);
        model->setTitle(typed);
        QCOMPARE(model->canSave(), !stored.isEmpty());
        QCOMPARE(model->save(), !stored.isEmpty());
        const QList<Idea> ideas = store->allIdeas();
        QCOMPARE(ideas.isEmpty() ? QString() : ideas.first().title, stored);
        QVERIFY(ideas.isEmpty() || !ideas.first().reminderDate);
        QVERIFY(notifications.requests.isEmpty());
    }

    void dictationIsJoinedWithOneSpace()
    {
        QCOMPARE(CaptureSheetModel::joinedTitle("", "نص"), "نص");
        QCOMPARE(CaptureSheetModel::joinedTitle("فكرة ", "نص"), "فكرة  نص");
        model->setTitle("مكتوب");
        model->recorder()->setTranscribedText("منطوق");
        model->useTranscribedText();
        QCOMPARE(model->title(), "مكتوب منطوق");
        QCOMPARE(model->recorder()->transcribedText(), "");
    }

    // The fields stored and the reminder asked for are followed through the whole program.
    void tappingTheChosenReminderAgainClearsIt()
    {
        model->setTitle("موعد الأسنان");
        // There is no eighth.
        QSignalSpy changed(&*model, &CaptureSheetModel::selectedReminderChanged);
        QList<int> chosen;
        for (const int tapped : {2, 4, 4, 7, 0}) {
            model->tapReminder(tapped);
            chosen << model->selectedReminder();
        }
        QCOMPARE(chosen, (QList<int>{2, 4, -1, -1, 0}));
        QCOMPARE(changed.size(), 4);
        model->recorder()->setTranscribedText("نص لم يستخدم");
        QVERIFY(model->save());
        QCOMPARE(store->allIdeas().first().title, "موعد الأسنان");
        QCOMPARE(notifications.requests.size(), 1);
    }

    void aFailedSaveKeepsTheSheetAndSaysWhy()
    {
        sqlite3 *raw = nullptr;
        QCOMPARE(sqlite3_open(store->path().toUtf8(), &raw), SQLITE_OK);
        QCOMPARE(sqlite3_exec(raw, "CREATE TRIGGER refuse BEFORE INSERT ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END",
                              nullptr, nullptr, nullptr),
                 SQLITE_OK);
        sqlite3_close(raw);

        model->setTitle("ما تنحفظ");
        model->tapReminder(1);
        QVERIFY(!model->save());
        QCOMPARE(model->saveError(), IdeaStore::writeFailureMessage());
        QCOMPARE(model->title(), "ما تنحفظ");
        QVERIFY(notifications.requests.isEmpty());
    }

    // The sheet's recorder, on a scripted engine.
    void levelIsTenTimesTheMeanCappedAtOne()
    {
        for (const auto &[mean, level] : {std::pair{0.0f, 0.0f}, {0.02f, 0.2f}, {0.1f, 1.0f}, {0.7f, 1.0f}})
            QCOMPARE(AudioRecorder::levelFor(mean), level);
    }

    void aRecordingThatCannotStartSaysWhyAndChangesNothing()
    {
        FakeSpeechEngine unavailable;
        unavailable.available = false;
        FakeSpeechEngine failing;
        failing.startSucceeds = false;
        for (const auto &[engine, message] : {std::pair<FakeSpeechEngine *, QString>{nullptr, "التعرف على الكلام غير متوفر"},
                                              {&unavailable, "التعرف على الكلام غير متوفر"},
                                              {&failing, "خطأ في تشغيل التسجيل"}}) {
            AudioRecorder recorder(engine);
            recorder.setTranscribedText("قديم");
            recorder.startRecording();
            QCOMPARE(recorder.errorMessage(), message);
            QVERIFY(!recorder.isRecording());
            QCOMPARE(recorder.transcribedText(), engine == &failing ? "" : "قديم");
        }
        QCOMPARE(unavailable.starts, 0);
    }

    void partialResultsReplaceEachOtherUntilTheRecognitionEnds()
    {
        FakeSpeechEngine engine;
        AudioRecorder recorder(&engine);
        recorder.startRecording();
        emit engine.transcribed("أول");
        // Starting again tears the running one down and clears.
        recorder.startRecording();
        QCOMPARE(engine.starts, 2);
        QCOMPARE(engine.startsWhileRunning, 0);
        QCOMPARE(recorder.transcribedText(), "");
        QVERIFY(recorder.isRecording());

        QSignalSpy recording(&recorder, &AudioRecorder::isRecordingChanged);
        emit engine.transcribed("ثاني");
        emit engine.transcribed("ثاني وثالث");
        emit engine.levelMeasured(0.05f);
        QCOMPARE(recorder.audioLevel(), 0.5f);
        emit engine.finished();
        QVERIFY(!recorder.isRecording());
        // Late results after the end do not sneak in; text and level stay.
        emit engine.transcribed("متأخر");
        QCOMPARE(recorder.transcribedText(), "ثاني وثالث");
        QCOMPARE(recorder.audioLevel(), 0.5f);
        recorder.stopRecording();
        QVERIFY(!engine.running);
        QCOMPARE(recording.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestCaptureSheetModel)
#include "tst_capturesheetmodel.moc"
