#include "SpeechRecognizer.h"

#include "AudioRing.h"
#include "VoskSpeechEngine.h"

#include <QCoreApplication>
#include <QTimer>

#include <array>
#include <cstdlib>

namespace {

// How often the recognition thread takes what the audio thread has handed over.
constexpr int drainIntervalMs = 30;

#ifdef FIKRANEST_TEST_HOOKS
// Lets the acceptance tests dictate through the real microphone path where no real model
// can be installed: it "recognises" a fixed sentence once it has heard a third of a
// second of sound.
class LoudnessEngine : public SpeechEngine
{
public:
    // Asked to, it takes only an installed model's folder, as the real one does.
    Status load() override
    {
        const bool wantsModel = qEnvironmentVariable("FIKRANEST_TEST_LOUDNESS_ENGINE") == QLatin1String("model");
        return wantsModel && VoskSpeechEngine::defaultModelFolder().isEmpty() ? Status::absent : Status::ready;
    }
    bool beginUtterance() override
    {
        m_loudSamples = 0;
        return true;
    }
    std::optional<QString> feed(std::span<const qint16> samples) override
    {
        const bool wasHeard = m_loudSamples >= sampleRate / 3;
        for (const qint16 sample : samples)
            m_loudSamples += std::abs(int(sample)) > 1000 ? 1 : 0;
        if (wasHeard || m_loudSamples < sampleRate / 3)
            return std::nullopt;
        return QStringLiteral("فكرة قلتها بصوتي");
    }
    bool hasEnded() const override { return false; }
    void endUtterance() override {}

private:
    qint64 m_loudSamples = 0;
};
#endif

std::unique_ptr<SpeechEngine> installedEngine()
{
#ifdef FIKRANEST_TEST_HOOKS
    if (qEnvironmentVariableIsSet("FIKRANEST_TEST_LOUDNESS_ENGINE"))
        return std::make_unique<LoudnessEngine>();
#endif
    return std::make_unique<VoskSpeechEngine>();
}

} // namespace

// Lives on the recognition thread, with the engine it alone touches.
class RecognitionWorker : public QObject
{
public:
    explicit RecognitionWorker(std::unique_ptr<SpeechEngine> engine) : engine(std::move(engine)) {}

    using Post = std::function<void(std::optional<QString> text, bool ended)>;

    void begin(quint64 task, std::shared_ptr<AudioRing> audio, Post post)
    {
        end();
        if (!m_timer) {
            m_timer = new QTimer(this);
            m_timer->setInterval(drainIntervalMs);
            connect(m_timer, &QTimer::timeout, this, &RecognitionWorker::drain);
        }
        if (!engine->beginUtterance()) {
            post(std::nullopt, true);
            return;
        }
        m_task = task;
        m_audio = std::move(audio);
        m_post = std::move(post);
        m_timer->start();
    }

    void end(quint64 task = 0)
    {
        if (!m_task || (task && task != m_task))
            return;
        m_timer->stop();
        engine->endUtterance();
        m_task = 0;
        m_audio.reset();
        m_post = nullptr;
    }

    std::unique_ptr<SpeechEngine> engine;

private:
    void drain()
    {
        std::size_t count;
        while ((count = m_audio->pop(m_chunk)) > 0) {
            if (std::optional<QString> text = engine->feed(std::span(m_chunk).first(count)))
                m_post(std::move(text), false);
            if (engine->hasEnded()) {
                m_post(std::nullopt, true);
                end();
                return;
            }
        }
    }

    QTimer *m_timer = nullptr;
    quint64 m_task = 0;
    std::shared_ptr<AudioRing> m_audio;
    Post m_post;
    std::array<qint16, 4096> m_chunk{};
};

SpeechRecognizer::SpeechRecognizer(std::unique_ptr<SpeechEngine> engine, QObject *parent)
    : QObject(parent), m_worker(new RecognitionWorker(std::move(engine)))
{
    m_thread.setObjectName(QStringLiteral("recognition"));
    m_worker->moveToThread(&m_thread);
    // The worker goes on its own thread as that ends: no event has to get through,
    // so this holds while the application itself is being torn down.
    connect(&m_thread, &QThread::finished, m_worker, [worker = m_worker] { delete worker; }, Qt::DirectConnection);
}

SpeechRecognizer::~SpeechRecognizer()
{
    if (!m_thread.isRunning()) {
        delete m_worker;
        return;
    }
    m_thread.quit();
    m_thread.wait();
}

SpeechRecognizer *SpeechRecognizer::shared()
{
    // Goes with the application, which stops its thread before the process ends.
    static SpeechRecognizer *const instance =
        new SpeechRecognizer(installedEngine(), QCoreApplication::instance());
    return instance;
}

void SpeechRecognizer::ensureThread()
{
    if (!m_thread.isRunning())
        m_thread.start();
}

void SpeechRecognizer::prepare(QObject *context, std::function<void(SpeechEngine::Status)> done)
{
    ensureThread();
    QMetaObject::invokeMethod(m_worker, [this, worker = m_worker, context = QPointer(context), done = std::move(done)] {
        const SpeechEngine::Status status = worker->engine->load();
        QMetaObject::invokeMethod(this, [this, status, context, done] {
            m_status = status;
            if (context)
                done(status);
        });
    });
}

quint64 SpeechRecognizer::startTask(std::shared_ptr<AudioRing> audio, QObject *context, ResultHandler handler)
{
    ensureThread();
    const quint64 task = ++m_lastTask;
    m_currentTask = task;
    // Answers travel through this object, which outlives every task, and are
    // dropped on arrival once the task is over or its context gone.
    auto post = [this, task, context = QPointer(context), handler = std::move(handler)](
                    std::optional<QString> text, bool ended) {
        QMetaObject::invokeMethod(this, [this, task, context, handler, text = std::move(text), ended] {
            if (task == m_currentTask && context)
                handler(text, ended);
        });
    };
    QMetaObject::invokeMethod(m_worker, [worker = m_worker, task, audio = std::move(audio), post = std::move(post)] {
        worker->begin(task, audio, post);
    });
    return task;
}

void SpeechRecognizer::cancelTask(quint64 task)
{
    if (task != m_currentTask)
        return;
    m_currentTask = 0;
    QMetaObject::invokeMethod(m_worker, [worker = m_worker, task] { worker->end(task); });
}
