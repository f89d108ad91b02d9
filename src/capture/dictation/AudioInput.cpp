#include "AudioInput.h"

#include "OwnLibrary.h"

std::unique_ptr<AudioInput> AudioInput::loadDefault()
{
    using Create = AudioInput *();
    auto *create = reinterpret_cast<Create *>(OwnLibrary::symbol(QStringLiteral("libfikranest_audio.so"),
                                                                  QStringLiteral(FIKRANEST_AUDIO_INSTALLED),
                                                                  "fikranest_create_audio_input"));
    return std::unique_ptr<AudioInput>(create ? create() : nullptr);
}
