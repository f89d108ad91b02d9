#pragma once

#include <QObject>
#include <QString>

// Microphone capture and Arabic speech-to-text, behind one small interface so the
// recorder never sees audio or recogniser headers.
class SpeechEngine : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // False when no recogniser or no Arabic model is installed.
    virtual bool isAvailable() const = 0;
    // Opens the microphone and starts recognising; false when capture cannot start.
    virtual bool start() = 0;
    // Safe to call when nothing runs.
    virtual void stop() = 0;

signals:
    // The best transcription so far of the running recording; each replaces the last.
    void transcribed(const QString &text);
    // Mean absolute amplitude of one buffer of samples in [-1, 1].
    void levelMeasured(float meanAbsoluteAmplitude);
    // Recognition ended, normally or with an error.
    void finished();
};
