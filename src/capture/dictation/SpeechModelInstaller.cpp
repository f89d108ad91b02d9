#include "SpeechModelInstaller.h"

#include "OwnLibrary.h"
#include "QmlSingleton.h"
#include "SpeechModelArchive.h"
#include "SpeechRecognizer.h"
#include "VoskSpeechEngine.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QThread>

#include <cmath>
#include <cstdlib>

namespace {

constexpr double megabyte = 1000.0 * 1000.0;
// Unpacked, a model weighs a few times its zip; far beyond that it is not one.
constexpr qint64 unpackFactor = 4;
// A server's word for the length is believed only this far past the size expected.
constexpr qint64 lengthFactor = 2;
constexpr int silenceLimitMs = 30'000;

SpeechModelInstaller::Source builtSource()
{
    SpeechModelInstaller::Source source{QUrl(QStringLiteral(FIKRANEST_SPEECH_MODEL_URL)),
                                        qint64(FIKRANEST_SPEECH_MODEL_SIZE), QByteArray(FIKRANEST_SPEECH_MODEL_SHA256)};
#ifdef FIKRANEST_TEST_HOOKS
    if (qEnvironmentVariableIsSet("FIKRANEST_SPEECH_MODEL_URL_OVERRIDE")) {
        source.url = QUrl(qEnvironmentVariable("FIKRANEST_SPEECH_MODEL_URL_OVERRIDE"));
        source.size = qEnvironmentVariable("FIKRANEST_SPEECH_MODEL_SIZE_OVERRIDE").toLongLong();
        source.sha256 = qgetenv("FIKRANEST_SPEECH_MODEL_SHA256_OVERRIDE");
    }
#endif
    source.sha256 = source.sha256.trimmed().toLower();
    return source;
}

// The whole file's length from a 206 answer's Content-Range, when it starts at `from`.
qint64 rangeTotal(const QByteArray &contentRange, qint64 from)
{
    static const QRegularExpression form(QStringLiteral("^bytes (\\d+)-(\\d+)/(\\d+)$"));
    const QRegularExpressionMatch match = form.match(QString::fromLatin1(contentRange.trimmed()));
    if (!match.hasMatch() || match.captured(1).toLongLong() != from)
        return -1;
    return match.captured(3).toLongLong();
}

enum class Installed { done, broken, noSpace };

// Off the main thread: the check of the whole file, the unpacking and the move into place.
Installed unpackAndPlace(const QString &part, const QString &folder, const QByteArray &sha256, qint64 maxBytes,
                         QString *placed)
{
    if (!sha256.isEmpty()) {
        QFile file(part);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file) || hash.result().toHex() != sha256)
            return Installed::broken;
    }
    using Unpack = decltype(&fikranest_unpack_speech_model);
    static const auto unpack = reinterpret_cast<Unpack>(OwnLibrary::symbol(
        QStringLiteral("libfikranest_unpack.so"), QStringLiteral(FIKRANEST_UNPACK_INSTALLED),
        "fikranest_unpack_speech_model"));
    if (!unpack)
        return Installed::broken;
    QByteArray scratch = QFile::encodeName(folder + QStringLiteral("/speech.unpacking-XXXXXX"));
    if (!::mkdtemp(scratch.data()))
        return Installed::noSpace;
    const QString unpacked = QFile::decodeName(scratch);
    const auto outcome = SpeechModelArchive::Outcome(unpack(part, unpacked, maxBytes));
    Installed result = outcome == SpeechModelArchive::Outcome::noSpace ? Installed::noSpace : Installed::broken;
    if (outcome == SpeechModelArchive::Outcome::unpacked) {
        // The model's files at the top, or in the one folder the zip holds.
        QString root = unpacked;
        const QStringList inside = QDir(unpacked).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        if (!VoskSpeechEngine::isModelFolder(root) && inside.size() == 1)
            root = unpacked + u'/' + inside.first();
        const QString speech = folder + QStringLiteral("/speech");
        QString name = root == unpacked ? QStringLiteral("model") : inside.first();
        if (QFileInfo::exists(speech + u'/' + name))
            name += QStringLiteral("-") + QFileInfo(unpacked).fileName().section(u'-', -1);
        if (VoskSpeechEngine::isModelFolder(root) && QDir().mkpath(speech)
            && QDir().rename(root, speech + u'/' + name)) {
            *placed = speech + u'/' + name;
            result = Installed::done;
        }
    }
    QDir(unpacked).removeRecursively();
    return result;
}

} // namespace

SpeechModelInstaller::SpeechModelInstaller(Source source, QObject *parent)
    : QObject(parent),
      m_source(std::move(source)),
      m_folder(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Fikranest")),
      m_partPath(m_folder + QStringLiteral("/speech-model.zip.part"))
{
    refresh();
}

SpeechModelInstaller::~SpeechModelInstaller() = default;

SpeechModelInstaller &SpeechModelInstaller::instance()
{
    static SpeechModelInstaller installer(builtSource());
    return installer;
}

SpeechModelInstaller *SpeechModelInstaller::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}

QString SpeechModelInstaller::noSpaceText()
{
    return QStringLiteral("ما فيه مساحة كافية 💾");
}

QString SpeechModelInstaller::cutText()
{
    return QStringLiteral("انقطع التنزيل، نكمل من وين وقفنا لما ترجع 🌐");
}

QString SpeechModelInstaller::brokenText()
{
    return QStringLiteral("الملف اللي وصل خربان، حاول مرة ثانية 🔁");
}

QString SpeechModelInstaller::offerText() const
{
    return QStringLiteral("التعرف على الكلام يحتاج نموذج عربي (%1 ميغا) 📦")
        .arg(std::max<qint64>(1, std::llround(double(m_source.size) / megabyte)));
}

double SpeechModelInstaller::progress() const
{
    return m_total > 0 ? std::min(1.0, double(m_received) / double(m_total)) : 0.0;
}

QString SpeechModelInstaller::progressText() const
{
    const qint64 total = m_total > 0 ? m_total : m_source.size;
    return QStringLiteral("%1 / %2 ميغا").arg(std::llround(double(m_received) / megabyte))
        .arg(std::max<qint64>(1, std::llround(double(total) / megabyte)));
}

QString SpeechModelInstaller::timeLeftText() const
{
    const double seconds = double(m_clock.isValid() ? m_clock.elapsed() : 0) / 1000.0;
    const qint64 fetched = m_received - m_resumedAt;
    if (m_state != State::downloading || m_total <= 0 || seconds < 1.0 || fetched <= 0)
        return {};
    const double rate = double(fetched) / seconds;
    const auto minutes = std::max<qint64>(1, qint64(std::ceil(double(m_total - m_received) / rate / 60.0)));
    return QStringLiteral("باقي تقريباً %1 دقيقة").arg(minutes);
}

void SpeechModelInstaller::refresh()
{
    if (m_state == State::downloading || m_state == State::unpacking)
        return;
    setState(VoskSpeechEngine::defaultModelFolder().isEmpty() ? State::absent : State::ready);
}

void SpeechModelInstaller::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit changed();
    emit progressChanged();
}

void SpeechModelInstaller::download()
{
    refresh();
    if (m_state != State::absent)
        return;
    m_failure.clear();
    // What a crash left half unpacked, where the recogniser never looks.
    const QDir folder(m_folder);
    for (const QString &left : folder.entryList({QStringLiteral("speech.unpacking-*")}, QDir::Dirs | QDir::Hidden))
        QDir(folder.filePath(left)).removeRecursively();
    m_part.setFileName(m_partPath);
    if (!folder.mkpath(QStringLiteral(".")) || !m_part.open(QIODevice::ReadWrite))
        return fail(noSpaceText(), true);
    m_received = m_resumedAt = m_part.size();
    m_total = 0;
    // The zip and what it unpacks to sit side by side for a moment.
    if (QStorageInfo(m_folder).bytesAvailable() < 2 * m_source.size - m_received) {
        m_part.close();
        return fail(noSpaceText(), true);
    }
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    QNetworkRequest request(m_source.url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setTransferTimeout(silenceLimitMs);
    // Stored as it comes, so that a range picks up exactly where the file stops.
    request.setRawHeader("Accept-Encoding", "identity");
    if (m_received > 0)
        request.setRawHeader("Range", "bytes=" + QByteArray::number(m_received) + '-');
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::readyRead, this, &SpeechModelInstaller::received);
    connect(m_reply, &QNetworkReply::finished, this, &SpeechModelInstaller::finished);
    m_clock.start();
    setState(State::downloading);
}

void SpeechModelInstaller::received()
{
    if (!m_reply)
        return;
    if (m_total == 0) {
        const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status == 206) {
            m_total = rangeTotal(m_reply->rawHeader("Content-Range"), m_received);
        } else if (status == 200) {
            // The server starts over: so does the file.
            m_part.resize(0);
            m_received = m_resumedAt = 0;
            m_total = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        } else {
            return;
        }
        if (m_total <= 0 || (m_source.size > 0 && m_total > lengthFactor * m_source.size)) {
            m_reply->abort();
            return fail(brokenText(), false);
        }
    }
    const QByteArray data = m_reply->readAll();
    if (m_received + data.size() > m_total) {
        m_reply->abort();
        return fail(brokenText(), false);
    }
    if (!m_part.seek(m_received) || m_part.write(data) != data.size() || !m_part.flush()) {
        m_reply->abort();
        return fail(noSpaceText(), true);
    }
    m_received += data.size();
    emit progressChanged();
}

void SpeechModelInstaller::finished()
{
    QNetworkReply *reply = m_reply;
    if (!reply || m_state != State::downloading)
        return;
    reply->deleteLater();
    m_reply.clear();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // All of it was here already: only the check and the unpacking were left.
    const bool wholeBefore = status == 416 && m_resumedAt > 0;
    if (!wholeBefore && (reply->error() != QNetworkReply::NoError || m_total <= 0 || m_received != m_total)) {
        m_part.close();
        return fail(status >= 400 && status != 416 ? brokenText() : cutText(), status < 400);
    }
    m_part.close();
    install();
}

void SpeechModelInstaller::cancel()
{
    if (m_state != State::downloading)
        return;
    if (QNetworkReply *reply = m_reply) {
        m_reply.clear();
        reply->abort();
        reply->deleteLater();
    }
    m_part.close();
    QFile::remove(m_partPath);
    m_received = m_resumedAt = m_total = 0;
    m_failure.clear();
    setState(State::absent);
}

void SpeechModelInstaller::fail(const QString &text, bool keepPart)
{
    if (QNetworkReply *reply = m_reply) {
        m_reply.clear();
        reply->deleteLater();
    }
    m_part.close();
    if (!keepPart) {
        QFile::remove(m_partPath);
        m_received = m_resumedAt = m_total = 0;
    }
    m_failure = text;
    m_state = State::absent;
    emit changed();
    emit progressChanged();
}

void SpeechModelInstaller::install()
{
    setState(State::unpacking);
    const qint64 maxBytes = unpackFactor * std::max(m_source.size, m_received);
    QThread *worker = QThread::create([this, part = m_partPath, folder = m_folder, sha = m_source.sha256, maxBytes] {
        QString placed;
        const Installed outcome = unpackAndPlace(part, folder, sha, maxBytes, &placed);
        QMetaObject::invokeMethod(this, [this, outcome, placed] { installed(int(outcome), placed); });
    });
    connect(worker, &QThread::finished, worker, &QObject::deleteLater);
    worker->start();
}

void SpeechModelInstaller::installed(int outcome, const QString &model)
{
    if (Installed(outcome) != Installed::done)
        return fail(Installed(outcome) == Installed::noSpace ? noSpaceText() : brokenText(),
                    Installed(outcome) == Installed::noSpace);
    // Loaded once, to prove it; a model the recogniser will not take is not kept.
    SpeechRecognizer::shared()->prepare(this, [this, model](SpeechEngine::Status status) {
        if (status != SpeechEngine::Status::ready) {
            QDir(model).removeRecursively();
            return fail(brokenText(), false);
        }
        QFile::remove(m_partPath);
        m_received = m_total;
        setState(State::ready);
    });
}
