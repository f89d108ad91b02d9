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
        running = startSucceeds;
        return startSucceeds;
    }
    void stop() override { running = false; }
};

} // namespace

class TestAudioRecorder : public QObject
{
    Q_OBJECT

private slots:
    void levelIsTenTimesTheMeanCappedAtOne_data()
    {
        QTest::addColumn<float>("mean");
        QTest::addColumn<float>("level");
        QTest::newRow("silence") << 0.0f << 0.0f;
        QTest::newRow("quiet") << 0.02f << 0.2f;
        QTest::newRow("loud pins at one") << 0.1f << 1.0f;
        QTest::newRow("louder still") << 0.7f << 1.0f;
    }

    void levelIsTenTimesTheMeanCappedAtOne()
    {
        QFETCH(float, mean);
        QFETCH(float, level);
        QCOMPARE(AudioRecorder::levelFor(mean), level);
    }

    void noRecogniserMeansNoRecording()
    {
        AudioRecorder withoutEngine;
        withoutEngine.startRecording();
        QCOMPARE(withoutEngine.errorMessage(), "التعرف على الكلام غير متوفر");
        QVERIFY(!withoutEngine.isRecording());

        FakeSpeechEngine engine;
        engine.available = false;
        AudioRecorder recorder(&engine);
        recorder.setTranscribedText("قديم");
        recorder.startRecording();
        QCOMPARE(recorder.errorMessage(), "التعرف على الكلام غير متوفر");
        QCOMPARE(recorder.transcribedText(), "قديم");
        QCOMPARE(engine.starts, 0);
    }

    void aFailedStartSaysSo()
    {
        FakeSpeechEngine engine;
        engine.startSucceeds = false;
        AudioRecorder recorder(&engine);
        recorder.startRecording();
        QCOMPARE(recorder.errorMessage(), "خطأ في تشغيل التسجيل");
        QVERIFY(!recorder.isRecording());
    }

    void startingAgainTearsDownAndClears()
    {
        FakeSpeechEngine engine;
        AudioRecorder recorder(&engine);
        recorder.startRecording();
        emit engine.transcribed("أول");
        emit engine.levelMeasured(0.05f);
        QCOMPARE(recorder.transcribedText(), "أول");
        QCOMPARE(recorder.audioLevel(), 0.5f);

        recorder.startRecording();
        QCOMPARE(engine.starts, 2);
        QCOMPARE(engine.startsWhileRunning, 0);
        QCOMPARE(recorder.transcribedText(), "");
        QVERIFY(recorder.isRecording());

        // Partial results replace each other; nothing is appended.
        emit engine.transcribed("ثاني");
        emit engine.transcribed("ثاني وثالث");
        QCOMPARE(recorder.transcribedText(), "ثاني وثالث");
    }

    void anEndedRecognitionKeepsTheTextAndLevel()
    {
        FakeSpeechEngine engine;
        AudioRecorder recorder(&engine);
        QSignalSpy recording(&recorder, &AudioRecorder::isRecordingChanged);
        recorder.startRecording();
        emit engine.transcribed("نص جزئي");
        emit engine.levelMeasured(0.03f);
        emit engine.finished();
        QVERIFY(!recorder.isRecording());
        QCOMPARE(recorder.transcribedText(), "نص جزئي");
        QCOMPARE(recorder.audioLevel(), AudioRecorder::levelFor(0.03f));
        QCOMPARE(recording.size(), 2);

        // Late results after the stop do not sneak in.
        emit engine.transcribed("متأخر");
        QCOMPARE(recorder.transcribedText(), "نص جزئي");

        recorder.stopRecording();
        QVERIFY(!recorder.isRecording());
        QVERIFY(!engine.running);
        QCOMPARE(recording.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestAudioRecorder)
#include "tst_audiorecorder.moc"
