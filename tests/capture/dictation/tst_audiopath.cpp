// Dictation's audio path against a real sound server (tests/capture/dictation/with_pulseaudio.sh):
// Arabic speech played into a virtual microphone reaches the recogniser through
// QAudioSource. With FIKRANEST_TEST_VOSK_MODEL naming an Arabic model, the real
// recogniser must also hear the words.
#include "AudioRecorder.h"
#include "QtAudioInput.h"
#include "SpeechRecognizer.h"
#include "VoskSpeechEngine.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Hears without understanding: counts the audio and says how many seconds came.
class CountingEngine : public SpeechEngine
{
public:
    std::atomic<qint64> samples = 0;

    Status load() override { return Status::ready; }
    bool beginUtterance() override { return true; }
    std::optional<QString> feed(std::span<const qint16> audio) override
    {
        const qint64 before = samples.fetch_add(qint64(audio.size())) / sampleRate;
        const qint64 after = samples.load() / sampleRate;
        return after != before ? std::optional(QString::number(after)) : std::nullopt;
    }
    bool hasEnded() const override { return false; }
    void endUtterance() override {}
};

} // namespace

class TestAudioPath : public QObject
{
    Q_OBJECT

private slots:
    void spokenArabicReachesTheRecogniserAsItIsSpoken()
    {
        const QString model = qEnvironmentVariable("FIKRANEST_TEST_VOSK_MODEL");
        auto *counting = new CountingEngine;
        std::unique_ptr<SpeechEngine> engine(counting);
        if (!model.isEmpty())
            engine = std::make_unique<VoskSpeechEngine>(QStringList{FIKRANEST_TEST_VOSK_LIBRARY},
                                                        [model] { return model; });
        SpeechRecognizer recognizer(std::move(engine));
        AudioRecorder recorder(&recognizer, std::make_unique<QtAudioInput>());

        QTemporaryDir dir;
        const QString speech = dir.filePath("speech.wav");
        QCOMPARE(QProcess::execute("espeak-ng", {"-v", "ar", "-w", speech, "عندي فكرة جديدة عن السوق"}), 0);

        std::optional<bool> granted;
        recorder.requestPermissions([&](bool answer) { granted = answer; });
        QTRY_VERIFY_WITH_TIMEOUT(granted.has_value(), 60'000);
        QVERIFY(*granted);

        QElapsedTimer clock;
        QList<std::pair<qint64, float>> levels;
        connect(&recorder, &AudioRecorder::audioLevelChanged, this,
                [&] { levels.append({clock.elapsed(), recorder.audioLevel()}); });
        clock.start();
        recorder.startRecording();
        QVERIFY2(recorder.isRecording(), qPrintable(recorder.errorMessage()));
        // A virtual microphone takes a moment to start flowing; a second of quiet follows.
        QTRY_VERIFY_WITH_TIMEOUT(!levels.isEmpty(), 10'000);
        QTest::qWait(1000);
        const qint64 speechStart = clock.elapsed();
        const qint64 heardBefore = counting->samples.load();
        QProcess player;
        player.start("paplay", {"-d", "virtmic", "--latency-msec=40", speech});
        QTRY_COMPARE_WITH_TIMEOUT(player.state(), QProcess::NotRunning, 30'000);
        QCOMPARE(player.exitCode(), 0);
        const qint64 speechEnd = clock.elapsed();
        QTest::qWait(1000);
        recorder.stopRecording();
        const qint64 stopped = clock.elapsed();
        const qint64 heard = counting->samples.load() - heardBefore;
        const qsizetype levelsWhileRecording = levels.size();
        QTest::qWait(300);

        QVERIFY(!recorder.isRecording());
        QCOMPARE(levels.size(), levelsWhileRecording);
        auto loudest = [&](qint64 from, qint64 to) {
            float most = 0;
            for (const auto &[at, level] : std::as_const(levels))
                most = at >= from && at < to ? std::max(most, level) : most;
            return most;
        };
        // Quiet, then loud while the words play, then quiet again once they stop.
        QVERIFY(loudest(0, speechStart) < 0.05f);
        QVERIFY2(loudest(speechStart, speechEnd + 200) > 0.3f, "no speech was heard");
        QVERIFY2(loudest(speechEnd + 500, stopped) < 0.05f, "the level did not fall after the speech");

        if (model.isEmpty()) {
            // The engine kept up with the microphone, give or take what was still on its way.
            const double seconds = double(stopped - speechStart) / 1000.0;
            QVERIFY2(heard > 0.75 * seconds * SpeechEngine::sampleRate && heard < 1.25 * seconds * SpeechEngine::sampleRate,
                     qPrintable(QStringLiteral("%1 samples in %2 s").arg(heard).arg(seconds)));
            QVERIFY(!recorder.transcribedText().isEmpty());
        } else {
            QVERIFY2(recorder.transcribedText().contains(QStringLiteral("فكرة")), qPrintable(recorder.transcribedText()));
        }
    }
};

QTEST_GUILESS_MAIN(TestAudioPath)
#include "tst_audiopath.moc"
