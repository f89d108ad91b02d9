#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>
#include <span>

// The microphone. While started, the tap receives each buffer of about
// `framesPerBuffer` frames of 16 kHz mono 16-bit audio on the audio thread; it must
// not block or allocate there.
class AudioInput
{
public:
    using Tap = std::function<void(std::span<const qint16> samples)>;
    using Failure = std::function<void()>;
    static constexpr int framesPerBuffer = 1024;
    static constexpr int sampleRate = 16000;

    virtual ~AudioInput() = default;

    // Only while stopped.
    virtual void installTap(Tap tap) = 0;
    virtual void removeTap() = 0;
    // Only while stopped. Called on the audio thread when a started input stops by
    // itself (the device gone, the sound server quit); no buffer follows it.
    void onFailure(Failure failure) { m_failure = std::move(failure); }
    // Opens the default input; false when there is none or it will not open.
    virtual bool start() = 0;
    // No buffer reaches the tap once this returns. Safe to call when stopped.
    virtual void stop() = 0;

    // The default input, from the library beside the program or where it is installed;
    // null when neither loads.
    static std::unique_ptr<AudioInput> loadDefault();

protected:
    const Failure &failure() const { return m_failure; }

private:
    Failure m_failure;
};
