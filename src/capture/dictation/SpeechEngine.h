#pragma once

#include "AudioInput.h"

#include <QString>

#include <optional>
#include <span>

// An offline speech-to-text engine for Arabic. It is used from the one recognition
// thread only, never from the main thread or the audio thread, so implementations
// need no locking and may take their time.
class SpeechEngine
{
public:
    enum class Status {
        ready,
        // No recogniser on this machine: its library or model is missing or would not load.
        absent,
        // Present, but it cannot run now.
        unavailable,
    };

    // Audio is always 16 kHz mono, 16-bit signed, as the microphone gives it.
    static constexpr int sampleRate = AudioInput::sampleRate;

    virtual ~SpeechEngine() = default;

    // Gets ready to recognise; slow the first time (a model can take seconds to load),
    // instant after.
    virtual Status load() = 0;
    // Starts a new utterance, forgetting the last; false when it cannot.
    virtual bool beginUtterance() = 0;
    // The next audio of the utterance. Returns the best transcription of the whole
    // utterance so far when it changed: each replaces the one before.
    virtual std::optional<QString> feed(std::span<const qint16> samples) = 0;
    // Recognition stopped by itself, with an error or at its own end; feeding is over.
    virtual bool hasEnded() const = 0;
    // The audio is over; whatever the engine still holds of the utterance is dropped.
    virtual void endUtterance() = 0;
};
