#pragma once

#include "SpeechEngine.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

// Vosk, an offline streaming recogniser. Its library is loaded when first needed, so
// a machine without it still runs, with dictation reported absent; so is the model,
// a folder the user installs.
class VoskSpeechEngine : public SpeechEngine
{
public:
    VoskSpeechEngine();
    VoskSpeechEngine(QStringList libraries, std::function<QString()> modelFolder);
    ~VoskSpeechEngine() override;

    // Beside the program (the build), where it is installed, then the system's search path.
    static QStringList defaultLibraries();
    // The folder named in the settings, else the first model under the data folder's
    // "speech"; empty when there is none.
    static QString defaultModelFolder();
    static bool isModelFolder(const QString &folder);

    Status load() override;
    bool beginUtterance() override;
    std::optional<QString> feed(std::span<const qint16> samples) override;
    bool hasEnded() const override { return m_ended; }
    void endUtterance() override;

private:
    struct Api;

    QStringList m_libraries;
    std::function<QString()> m_modelFolder;
    std::unique_ptr<Api> m_api;
    void *m_model = nullptr;
    void *m_recognizer = nullptr;
    // The finished stretches of the utterance, and the last text handed out.
    QString m_settled;
    QString m_text;
    bool m_ended = false;
};
