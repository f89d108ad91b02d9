#include "AudioRecorder.h"

#include "SpeechEngine.h"

#include <QTimer>

#include <algorithm>

AudioRecorder::AudioRecorder(SpeechEngine *engine, QObject *parent) : QObject(parent), m_engine(engine)
{
    if (!m_engine)
        return;
    connect(m_engine, &SpeechEngine::transcribed, this, [this](const QString &text) {
        if (m_isRecording)
            setTranscribedText(text);
    });
    connect(m_engine, &SpeechEngine::levelMeasured, this, [this](float meanAbsoluteAmplitude) {
        if (!m_isRecording)
            return;
        m_audioLevel = levelFor(meanAbsoluteAmplitude);
        emit audioLevelChanged();
    });
    connect(m_engine, &SpeechEngine::finished, this, &AudioRecorder::stopRecording);
}

AudioRecorder::~AudioRecorder()
{
    if (m_engine && m_isRecording)
        m_engine->stop();
}

float AudioRecorder::levelFor(float meanAbsoluteAmplitude)
{
    return std::min(meanAbsoluteAmplitude * 10.0f, 1.0f);
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

void AudioRecorder::requestPermissions(std::function<void(bool granted)> completion)
{
    QTimer::singleShot(0, this, [completion = std::move(completion)] { completion(true); });
}

void AudioRecorder::startRecording()
{
    if (!m_engine || !m_engine->isAvailable()) {
        setErrorMessage(unavailableMessage());
        return;
    }
    stopRecording();
    setTranscribedText({});
    setErrorMessage({});
    if (!m_engine->start()) {
        setErrorMessage(startFailedMessage());
        return;
    }
    setRecording(true);
}

void AudioRecorder::stopRecording()
{
    if (m_engine)
        m_engine->stop();
    setRecording(false);
}
