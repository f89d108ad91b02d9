#pragma once

#include "AudioInput.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <span>

class AudioRing;
class SpeechRecognizer;

// Dictation for the capture sheet: the running transcription, the input level for
// the pulsing dot, and the two failures as Arabic text.
class AudioRecorder : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(QString transcribedText READ transcribedText WRITE setTranscribedText NOTIFY transcribedTextChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(float audioLevel READ audioLevel NOTIFY audioLevelChanged)

public:
    // Without a recogniser or a microphone of its own, the recorder uses the process's
    // recogniser and the default input, from its first recording on.
    explicit AudioRecorder(SpeechRecognizer *recognizer = nullptr, std::unique_ptr<AudioInput> audioEngine = {},
                           QObject *parent = nullptr);
    ~AudioRecorder() override;

    static QString unavailableMessage() { return QStringLiteral("التعرف على الكلام غير متوفر"); }
    static QString startFailedMessage() { return QStringLiteral("خطأ في تشغيل التسجيل"); }
    // Loudness for the indicator: mean absolute amplitude × 10, capped at 1.
    static float levelFor(float meanAbsoluteAmplitude);
    // Mean absolute amplitude of 16-bit samples, in 0...1; 0 for no samples.
    static float meanAbsoluteAmplitude(std::span<const qint16> samples);

    bool isRecording() const { return m_isRecording; }
    QString transcribedText() const { return m_transcribedText; }
    void setTranscribedText(const QString &text);
    QString errorMessage() const { return m_errorMessage; }
    float audioLevel() const { return m_audioLevel; }

    // The desktop asks nothing for the microphone or for speech, so the answer is always
    // yes; it comes later, on the main thread, once the recogniser has tried to load, so
    // that starting knows whether there is one.
    void requestPermissions(std::function<void(bool granted)> completion);
    Q_INVOKABLE void startRecording();
    Q_INVOKABLE void stopRecording();

signals:
    void isRecordingChanged();
    void transcribedTextChanged();
    void errorMessageChanged();
    void audioLevelChanged();

private:
    void setErrorMessage(const QString &message);
    void setRecording(bool recording);
    void setAudioLevel(float level);
    SpeechRecognizer *speechRecognizer();
    AudioInput *audioEngine();

    QPointer<SpeechRecognizer> m_speechRecognizer;
    std::unique_ptr<AudioInput> m_audioEngine;
    // The running recording's audio on its way to the recogniser, and its task.
    std::shared_ptr<AudioRing> m_recognitionRequest;
    quint64 m_recognitionTask = 0;
    bool m_isRecording = false;
    QString m_transcribedText;
    QString m_errorMessage;
    float m_audioLevel = 0;
};
