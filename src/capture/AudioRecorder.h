#pragma once

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <functional>

class SpeechEngine;

// Dictation for the capture sheet: the running transcription, the input level for
// the pulsing dot, and the two failures as Arabic text.
class AudioRecorder : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The capture sheet creates its own recorder")
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
    Q_PROPERTY(QString transcribedText READ transcribedText WRITE setTranscribedText NOTIFY transcribedTextChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(float audioLevel READ audioLevel NOTIFY audioLevelChanged)

public:
    // Without an engine every start reports that recognition is unavailable.
    explicit AudioRecorder(SpeechEngine *engine = nullptr, QObject *parent = nullptr);
    ~AudioRecorder() override;

    static QString unavailableMessage() { return QStringLiteral("التعرف على الكلام غير متوفر"); }
    static QString startFailedMessage() { return QStringLiteral("خطأ في تشغيل التسجيل"); }
    // Loudness for the indicator: mean absolute amplitude × 10, capped at 1.
    static float levelFor(float meanAbsoluteAmplitude);

    bool isRecording() const { return m_isRecording; }
    QString transcribedText() const { return m_transcribedText; }
    void setTranscribedText(const QString &text);
    QString errorMessage() const { return m_errorMessage; }
    float audioLevel() const { return m_audioLevel; }

    // Recognition runs on this machine, so only the microphone matters; the answer
    // still arrives later, on the main thread, as the callers expect.
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

    QPointer<SpeechEngine> m_engine;
    bool m_isRecording = false;
    QString m_transcribedText;
    QString m_errorMessage;
    float m_audioLevel = 0;
};
