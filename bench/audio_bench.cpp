// What dictation costs per second of audio: buffers go from the tap on the audio
// side through the hand-over to the recognition thread and into the engine, as fast
// as the engine takes them. The engine only counts, so this is the recorder's own
// cost; with FIKRANEST_BENCH_VOSK_MODEL naming an Arabic model, Vosk is in the loop.
#include "AudioRecorder.h"
#include "SpeechRecognizer.h"
#include "VoskSpeechEngine.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <benchmark/benchmark.h>

#include <cmath>

namespace {

class CountingEngine : public SpeechEngine
{
public:
    std::atomic<qint64> samples = 0;

    Status load() override { return Status::ready; }
    bool beginUtterance() override { return true; }
    std::optional<QString> feed(std::span<const qint16> audio) override
    {
        samples += qint64(audio.size());
        return QString::number(samples.load());
    }
    bool hasEnded() const override { return false; }
    void endUtterance() override {}
};

// Hands the benchmark the tap the recorder installs.
class BenchInput : public AudioInput
{
public:
    Tap tap;
    void installTap(Tap newTap) override { tap = std::move(newTap); }
    void removeTap() override { tap = nullptr; }
    bool start() override { return true; }
    void stop() override {}
};

void audioPath(benchmark::State &state)
{
    const QString model = qEnvironmentVariable("FIKRANEST_BENCH_VOSK_MODEL");
    auto *counting = new CountingEngine;
    std::unique_ptr<SpeechEngine> engine(counting);
    if (!model.isEmpty())
        engine = std::make_unique<VoskSpeechEngine>(VoskSpeechEngine::defaultLibraries(), [model] { return model; });
    SpeechRecognizer recognizer(std::move(engine));
    auto *input = new BenchInput;
    AudioRecorder recorder(&recognizer, std::unique_ptr<AudioInput>(input));
    bool ready = false;
    recorder.requestPermissions([&](bool granted) { ready = granted; });
    QElapsedTimer waited;
    waited.start();
    while (!ready && waited.elapsed() < 60'000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    recorder.startRecording();
    if (!recorder.isRecording()) {
        state.SkipWithError("the recogniser did not start");
        return;
    }

    // A second of a voice-like tone, 16 buffers of 1024 frames.
    std::vector<qint16> buffer(AudioInput::framesPerBuffer);
    for (std::size_t i = 0; i < buffer.size(); ++i)
        buffer[i] = qint16(6000 * std::sin(double(i) * 2 * M_PI * 220 / SpeechEngine::sampleRate));
    constexpr int buffersPerSecond = 16;
    qint64 pushed = 0;
    for (auto _ : state) {
        for (int i = 0; i < buffersPerSecond; ++i)
            input->tap(buffer);
        pushed += buffersPerSecond * AudioInput::framesPerBuffer;
        // Done when the engine has had all of it (only the counting engine can say); each
        // of its answers wakes this thread.
        while (model.isEmpty() && counting->samples.load() < pushed)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::processEvents();
    }
    state.counters["audio_s"] = benchmark::Counter(double(pushed) / SpeechEngine::sampleRate);
    recorder.stopRecording();
}

} // namespace

BENCHMARK(audioPath)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(3);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
