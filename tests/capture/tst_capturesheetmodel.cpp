#include "AudioRecorder.h"
#include "CaptureSheetModel.h"
#include "FakeNotificationCenter.h"
#include "IdeaStore.h"
#include "SpeechRecognizer.h"
#include "TestFolders.h"
#include "VoskSpeechEngine.h"

#include <sqlite3.h>
#include <QtTest>

namespace {

// Answers from a script: each fed buffer yields the next text; past the script the
// engine either stays quiet or reports its end.
class ScriptedEngine : public SpeechEngine
{
public:
    QStringList texts;
    bool endsAfterScript = false;
    std::atomic<int> utterances = 0;
    std::atomic<int> utterancesEnded = 0;

    Status load() override { return Status::ready; }
    bool beginUtterance() override
    {
        ++utterances;
        m_fed = 0;
        return true;
    }
    std::optional<QString> feed(std::span<const qint16>) override
    {
        const int index = m_fed++;
        if (index < texts.size())
            return texts.at(index);
        return std::nullopt;
    }
    bool hasEnded() const override { return endsAfterScript && m_fed >= texts.size(); }
    void endUtterance() override { ++utterancesEnded; }

private:
    qsizetype m_fed = 0;
};

// A microphone the test speaks into, on the test's own thread.
class ScriptedInput : public AudioInput
{
public:
    bool started = false;
    Tap tap;

    void installTap(Tap newTap) override { tap = std::move(newTap); }
    void removeTap() override { tap = nullptr; }
    bool start() override { return started = true; }
    void stop() override { started = false; }
    void speak(qint16 loudness)
    {
        const std::vector<qint16> buffer(framesPerBuffer, loudness);
        if (started && tap)
            tap(buffer);
    }
};

struct Dictation
{
    ScriptedEngine *engine = new ScriptedEngine;
    SpeechRecognizer recognizer{std::unique_ptr<SpeechEngine>(engine)};
    ScriptedInput *input = new ScriptedInput;
    AudioRecorder recorder{&recognizer, std::unique_ptr<AudioInput>(input)};
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

    // There is no eighth; dictation not taken stays out of the title.
    void tappingTheChosenReminderAgainClearsIt()
    {
        model->setTitle("موعد الأسنان");
        QList<int> chosen;
        for (const int tapped : {2, 4, 4, 7, 0}) {
            model->tapReminder(tapped);
            chosen << model->selectedReminder();
        }
        QCOMPARE(chosen, (QList<int>{2, 4, -1, -1, 0}));
        model->recorder()->setTranscribedText("نص لم يستخدم");
        QVERIFY(model->save());
        QCOMPARE(store->allIdeas().first().title, "موعد الأسنان");
        QCOMPARE(notifications.requests.size(), 1);
    }

    void aFailedSaveKeepsTheSheetAndSaysWhy()
    {
        sqlite3 *raw = nullptr;
        sqlite3_open(store->path().toUtf8(), &raw);
        sqlite3_exec(raw, "CREATE TRIGGER refuse BEFORE INSERT ON Idea BEGIN SELECT RAISE(ABORT, 'full'); END", {}, {}, {});
        sqlite3_close(raw);

        model->setTitle("ما تنحفظ");
        model->tapReminder(1);
        QVERIFY(!model->save());
        QCOMPARE(model->saveError(), IdeaStore::writeFailureMessage());
        QCOMPARE(model->title(), "ما تنحفظ");
        QVERIFY(notifications.requests.isEmpty());
    }

    void partialResultsReplaceEachOtherUntilTheRecognitionEnds()
    {
        Dictation dictation;
        AudioRecorder &recorder = dictation.recorder;
        std::optional<bool> granted;
        recorder.requestPermissions([&](bool answer) { granted = answer; });
        QTRY_VERIFY(granted.value_or(false));
        dictation.engine->texts = {"أول"};
        recorder.startRecording();
        dictation.input->speak(0);
        QTRY_COMPARE(recorder.transcribedText(), "أول");
        // Starting again tears the running one down and clears.
        dictation.engine->texts = {"ثاني", "ثاني وثالث"};
        dictation.engine->endsAfterScript = true;
        recorder.startRecording();
        QCOMPARE(recorder.transcribedText(), "");
        QVERIFY(recorder.isRecording());
        QTRY_COMPARE(dictation.engine->utterances.load(), 2);
        QCOMPARE(dictation.engine->utterancesEnded.load(), 1);

        dictation.input->speak(16384);
        QTRY_COMPARE(recorder.transcribedText(), "ثاني");
        QCOMPARE(recorder.audioLevel(), 1.0f);
        dictation.input->speak(0);
        // The end of recognition stops the recording and keeps the last text.
        QTRY_VERIFY(!recorder.isRecording());
        QCOMPARE(recorder.transcribedText(), "ثاني وثالث");
        QVERIFY(!dictation.input->started && !dictation.input->tap);
        QCOMPARE(recorder.audioLevel(), 0.0f);
    }

    void theVoskEngineIsAbsentWithoutItsLibraryOrAWholeModel()
    {
        QTemporaryDir models;
        const QString broken = models.filePath("broken");
        for (const QString &folder : {broken + "/am", broken + "/conf"})
            QVERIFY(QDir().mkpath(folder));
        for (const QString &file : {broken + "/am/final.mdl", broken + "/conf/model.conf"}) {
            QFile garbage(file);
            QVERIFY(garbage.open(QIODevice::WriteOnly));
            garbage.write(QByteArray(4096, '\x7f'));
        }
        const QString library = QStringLiteral(FIKRANEST_TEST_VOSK_LIBRARY);
        QVERIFY2(QFile::exists(library), "scripts/setup puts the Vosk library beside the build");
        for (const auto &[libraries, folder] : {std::pair{QStringList{"/nowhere/libvosk.so"}, broken},
                                                {QStringList{library}, QString()},
                                                {QStringList{library}, broken}}) {
            VoskSpeechEngine engine(libraries, [folder] { return folder; });
            QCOMPARE(engine.load(), SpeechEngine::Status::absent);
            QVERIFY(!engine.beginUtterance());
        }
    }
};

QTEST_GUILESS_MAIN(TestCaptureSheetModel)
#include "tst_capturesheetmodel.moc"
