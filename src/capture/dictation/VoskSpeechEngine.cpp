#include "VoskSpeechEngine.h"

#include "AppSettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

#include <dlfcn.h>

// The part of Vosk's C interface used here, as its own bindings declare it.
struct VoskSpeechEngine::Api
{
    void *library = nullptr;
    void (*setLogLevel)(int level) = nullptr;
    void *(*modelNew)(const char *path) = nullptr;
    void (*modelFree)(void *model) = nullptr;
    void *(*recognizerNew)(void *model, float sampleRate) = nullptr;
    void (*recognizerFree)(void *recognizer) = nullptr;
    int (*acceptWaveform)(void *recognizer, const char *data, int length) = nullptr;
    const char *(*result)(void *recognizer) = nullptr;
    const char *(*partialResult)(void *recognizer) = nullptr;

    template<typename Function>
    bool resolve(Function &function, const char *name)
    {
        function = reinterpret_cast<Function>(dlsym(library, name));
        return function != nullptr;
    }

    static std::unique_ptr<Api> open(const QStringList &candidates)
    {
        for (const QString &candidate : candidates) {
            // Kept for the life of the process: unloading a recogniser's runtime is
            // not worth the risk of its static destructors.
            void *library = dlopen(QFile::encodeName(candidate).constData(), RTLD_NOW | RTLD_LOCAL);
            if (!library)
                continue;
            auto api = std::make_unique<Api>();
            api->library = library;
            if (api->resolve(api->setLogLevel, "vosk_set_log_level") && api->resolve(api->modelNew, "vosk_model_new")
                && api->resolve(api->modelFree, "vosk_model_free")
                && api->resolve(api->recognizerNew, "vosk_recognizer_new")
                && api->resolve(api->recognizerFree, "vosk_recognizer_free")
                && api->resolve(api->acceptWaveform, "vosk_recognizer_accept_waveform")
                && api->resolve(api->result, "vosk_recognizer_result")
                && api->resolve(api->partialResult, "vosk_recognizer_partial_result"))
                return api;
        }
        return nullptr;
    }
};

namespace {

QString textOf(const char *json, QLatin1StringView key)
{
    if (!json)
        return {};
    return QJsonDocument::fromJson(QByteArray(json)).object().value(key).toString().trimmed();
}

QString joined(const QString &settled, const QString &more)
{
    if (settled.isEmpty() || more.isEmpty())
        return settled + more;
    return settled + u' ' + more;
}

} // namespace

VoskSpeechEngine::VoskSpeechEngine() : VoskSpeechEngine(defaultLibraries(), &VoskSpeechEngine::defaultModelFolder) {}

VoskSpeechEngine::VoskSpeechEngine(QStringList libraries, std::function<QString()> modelFolder)
    : m_libraries(std::move(libraries)), m_modelFolder(std::move(modelFolder))
{
}

VoskSpeechEngine::~VoskSpeechEngine()
{
    endUtterance();
    if (m_model)
        m_api->modelFree(m_model);
}

QStringList VoskSpeechEngine::defaultLibraries()
{
    const QString here = QCoreApplication::applicationDirPath();
    return {here + QStringLiteral("/vosk/libvosk.so"), QStringLiteral(FIKRANEST_VOSK_INSTALLED),
            QStringLiteral("libvosk.so")};
}

bool VoskSpeechEngine::isModelFolder(const QString &folder)
{
    return !folder.isEmpty() && QFileInfo(folder + QStringLiteral("/am/final.mdl")).isFile()
        && QFileInfo(folder + QStringLiteral("/conf/model.conf")).isFile();
}

QString VoskSpeechEngine::defaultModelFolder()
{
    const QString chosen = AppSettings::speechModelFolder();
    if (!chosen.isEmpty())
        return chosen;
    const QDir speech(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                      + QStringLiteral("/Fikranest/speech"));
    if (isModelFolder(speech.path()))
        return speech.path();
    for (const QString &name : speech.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        if (isModelFolder(speech.filePath(name)))
            return speech.filePath(name);
    }
    return {};
}

SpeechEngine::Status VoskSpeechEngine::load()
{
    if (m_model)
        return Status::ready;
    if (!m_api) {
        m_api = Api::open(m_libraries);
        if (!m_api)
            return Status::absent;
        m_api->setLogLevel(-1);
    }
    // Looked for again on every try, so a model installed meanwhile is found.
    const QString folder = m_modelFolder();
    if (!isModelFolder(folder))
        return Status::absent;
    m_model = m_api->modelNew(QFile::encodeName(folder).constData());
    return m_model ? Status::ready : Status::absent;
}

bool VoskSpeechEngine::beginUtterance()
{
    endUtterance();
    if (!m_model)
        return false;
    m_recognizer = m_api->recognizerNew(m_model, float(sampleRate));
    return m_recognizer != nullptr;
}

std::optional<QString> VoskSpeechEngine::feed(std::span<const qint16> samples)
{
    if (!m_recognizer || m_ended)
        return std::nullopt;
    const int accepted = m_api->acceptWaveform(m_recognizer, reinterpret_cast<const char *>(samples.data()),
                                               int(samples.size_bytes()));
    QString text;
    if (accepted < 0) {
        m_ended = true;
        return std::nullopt;
    }
    if (accepted > 0) {
        // A pause closed a stretch of speech; the next one starts from nothing.
        m_settled = joined(m_settled, textOf(m_api->result(m_recognizer), QLatin1StringView("text")));
        text = m_settled;
    } else {
        text = joined(m_settled, textOf(m_api->partialResult(m_recognizer), QLatin1StringView("partial")));
    }
    if (text == m_text)
        return std::nullopt;
    m_text = text;
    return text;
}

void VoskSpeechEngine::endUtterance()
{
    if (m_recognizer)
        m_api->recognizerFree(m_recognizer);
    m_recognizer = nullptr;
    m_settled.clear();
    m_text.clear();
    m_ended = false;
}
