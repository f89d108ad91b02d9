#include "AudioInput.h"

#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>

std::unique_ptr<AudioInput> AudioInput::loadDefault()
{
    for (const QString &candidate : {QCoreApplication::applicationDirPath() + QStringLiteral("/libfikranest_audio.so"),
                                     QStringLiteral(FIKRANEST_AUDIO_INSTALLED)}) {
        // Stays loaded: its threads and Qt Multimedia live as long as the process.
        void *library = dlopen(QFile::encodeName(candidate).constData(), RTLD_NOW | RTLD_LOCAL);
        if (!library)
            continue;
        using Create = AudioInput *();
        if (auto *create = reinterpret_cast<Create *>(dlsym(library, "fikranest_create_audio_input")))
            return std::unique_ptr<AudioInput>(create());
    }
    return nullptr;
}
