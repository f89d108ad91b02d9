#pragma once

#include "SpeechEngine.h"

#include <QObject>
#include <QPointer>
#include <QThread>

#include <functional>
#include <memory>
#include <optional>

class AudioRing;
class RecognitionWorker;

// Runs a speech engine on a thread of its own, so loading a model or recognising
// never holds the screen up. Everything here is called on the main thread, and
// every answer comes back on it. One task runs at a time.
class SpeechRecognizer : public QObject
{
    Q_OBJECT

public:
    // Answers for one task: the transcription when it changed, and whether
    // recognition ended by itself.
    using ResultHandler = std::function<void(std::optional<QString> text, bool ended)>;

    explicit SpeechRecognizer(std::unique_ptr<SpeechEngine> engine, QObject *parent = nullptr);
    ~SpeechRecognizer() override;

    // The process's recogniser, made on first use with the installed engine and model.
    static SpeechRecognizer *shared();

    // The engine's last answer to `prepare`; unavailable until the first one.
    SpeechEngine::Status status() const { return m_status; }
    // Loads the engine if it is not ready, then calls `done` while `context` exists.
    void prepare(QObject *context, std::function<void(SpeechEngine::Status)> done);
    // Recognises what arrives in `audio` until cancelled; returns the task's number.
    quint64 startTask(std::shared_ptr<AudioRing> audio, QObject *context, ResultHandler handler);
    // Drops the task and whatever it had not answered yet.
    void cancelTask(quint64 task);

private:
    void ensureThread();

    QThread m_thread;
    RecognitionWorker *m_worker;
    SpeechEngine::Status m_status = SpeechEngine::Status::unavailable;
    quint64 m_lastTask = 0;
    quint64 m_currentTask = 0;
};
