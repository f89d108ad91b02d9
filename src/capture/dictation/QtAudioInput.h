#pragma once

#include "AudioInput.h"

#include <QThread>

class AudioCapture;

// The default input of PulseAudio or PipeWire through QAudioSource, read on a thread
// of its own so a busy screen never holds the audio up. The thread starts with the
// first recording.
class QtAudioInput : public AudioInput
{
public:
    QtAudioInput();
    ~QtAudioInput() override;

    void installTap(Tap tap) override;
    void removeTap() override;
    bool start() override;
    void stop() override;

private:
    QThread m_thread;
    AudioCapture *m_capture;
};
