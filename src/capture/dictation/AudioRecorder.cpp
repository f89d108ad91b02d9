#include "AudioRecorder.h"

#include "AudioRing.h"
#include "SpeechRecognizer.h"

#include <algorithm>
#include <cstdlib>

namespace {

// Half a minute of audio may wait for a recogniser that fell behind.
constexpr std::size_t requestSamples = SpeechEngine::sampleRate * 30;

} // namespace

AudioRecorder::AudioRecorder(SpeechRecognizer *recognizer, std::unique_ptr<AudioInput> audioEngine, QObject *parent)
    : QObject(parent), m_speechRecognizer(recognizer), m_audioEngine(std::move(audioEngine))
{
}

AudioRecorder::~AudioRecorder()
{
    // The audio thread ends first, so its tap never posts to a recorder on its way out.
    m_audioEngine.reset();
    stopRecording();
}

float AudioRecorder::levelFor(float meanAbsoluteAmplitude)
{
    return std::min(meanAbsoluteAmplitude * 10.0f, 1.0f);
}

float AudioRecorder::meanAbsoluteAmplitude(std::span<const qint16> samples)
{
    if (samples.empty())
        return 0;
    qint64 sum = 0;
    for (const qint16 sample : samples)
        sum += std::abs(int(sample));
    return float(double(sum) / 32768.0 / double(samples.size()));
}

SpeechRecognizer *AudioRecorder::speechRecognizer()
{
    if (!m_speechRecognizer)
        m_speechRecognizer = SpeechRecognizer::shared();
    return m_speechRecognizer;
}

AudioInput *AudioRecorder::audioEngine()
{
    if (!m_audioEngine)
        m_audioEngine = AudioInput::loadDefault();
    return m_audioEngine.get();
}

void AudioRecorder::setTranscribedText(const QString &text)
{
    if (text == m_transcribedText)
        return;
    m_transcribedText = text;
    emit transcribedTextChanged();
}

void AudioRecorder::setErrorMessage(const QString &message)
{
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}

void AudioRecorder::setRecording(bool recording)
{
    if (recording == m_isRecording)
        return;
    m_isRecording = recording;
    emit isRecordingChanged();
}

void AudioRecorder::setAudioLevel(float level)
{
    // Announced for every buffer, same value or not, so each one is seen to arrive.
    m_audioLevel = level;
    emit audioLevelChanged();
}

void AudioRecorder::requestPermissions(std::function<void(bool granted)> completion)
{
    speechRecognizer()->prepare(this, [completion = std::move(completion)](SpeechEngine::Status) { completion(true); });
}

void AudioRecorder::startRecording()
{
    SpeechRecognizer *recognizer = speechRecognizer();
    if (recognizer->status() != SpeechEngine::Status::ready) {
        setErrorMessage(unavailableMessage());
        return;
    }
    stopRecording();
    setTranscribedText({});
    setErrorMessage({});

    m_recognitionRequest = std::make_shared<AudioRing>(requestSamples);
    m_recognitionTask = recognizer->startTask(m_recognitionRequest, this, [this](std::optional<QString> text, bool ended) {
        // Each answer is the whole transcription so far.
        if (text)
            setTranscribedText(*text);
        if (ended)
            stopRecording();
    });

    AudioInput *input = audioEngine();
    if (!input) {
        setErrorMessage(startFailedMessage());
        return;
    }
    // Runs on the audio thread: hands the buffer over and posts the level, nothing more.
    input->installTap([this, request = m_recognitionRequest](std::span<const qint16> samples) {
        request->push(samples);
        const float level = levelFor(meanAbsoluteAmplitude(samples));
        QMetaObject::invokeMethod(this, [this, level] { setAudioLevel(level); }, Qt::QueuedConnection);
    });
    input->onFailure([this, request = m_recognitionRequest] {
        QMetaObject::invokeMethod(
            this,
            [this, request] {
                // Only the recording that failed ends; what it heard stays on offer.
                if (request != m_recognitionRequest)
                    return;
                stopRecording();
                setErrorMessage(startFailedMessage());
            },
            Qt::QueuedConnection);
    });
    if (!input->start()) {
        setErrorMessage(startFailedMessage());
        return;
    }
    setRecording(true);
}

void AudioRecorder::stopRecording()
{
    if (m_audioEngine) {
        m_audioEngine->stop();
        m_audioEngine->removeTap();
        m_audioEngine->onFailure(nullptr);
    }
    m_recognitionRequest.reset();
    if (m_recognitionTask && m_speechRecognizer)
        m_speechRecognizer->cancelTask(m_recognitionTask);
    m_recognitionTask = 0;
    setRecording(false);
}
