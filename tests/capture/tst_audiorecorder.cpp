#include "AudioRecorder.h"
#include "SpeechEngine.h"

#include <QSignalSpy>
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

class TestAudioRecorder : public QObject
{
    Q_OBJECT

private slots:
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

QTEST_GUILESS_MAIN(TestAudioRecorder)
#include "tst_audiorecorder.moc"
