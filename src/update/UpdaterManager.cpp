#include "UpdaterManager.h"

#include "AppWindow.h"
#include "FileManager.h"
#include "ReleaseNotes.h"
#include "UpdateCheck.h"
#include "UpdateSignature.h"
#include "VersionOrder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTemporaryFile>
#include <QTextDocumentFragment>

#include <algorithm>
#include <utility>

namespace {

// A download is written under a hidden name of this form until it has proved itself.
const QString partFileTemplate = QStringLiteral(".Fikranest-XXXXXX.part");
const QString partFileNames = QStringLiteral(".Fikranest-??????.part");

// The name the release is kept under: the one the feed reader checked, with a number
// added before its extension when that is taken.
QString downloadPath(const QDir &folder, const QString &name)
{
    qsizetype dot = name.lastIndexOf(u'.');
    if (dot > 0 && name.left(dot).endsWith(QLatin1StringView(".tar")))
        dot -= 4;
    const QString stem = dot > 0 ? name.left(dot) : name;
    const QString extension = dot > 0 ? name.mid(dot) : QString();
    QString path = folder.filePath(name);
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = folder.filePath(QStringLiteral("%1 (%2)%3").arg(stem).arg(n).arg(extension));
    return path;
}

} // namespace

UpdaterManager::UpdaterManager(QUrl feedUrl, QString currentVersion, QByteArray publicKey, QObject *parent)
    : QObject(parent), m_feedUrl(std::move(feedUrl)), m_currentVersion(std::move(currentVersion)),
      m_publicKey(std::move(publicKey))
{
}

UpdaterManager::~UpdaterManager()
{
    abortReply();
}

UpdaterManager *UpdaterManager::shared(QQmlEngine *engine)
{
    // Never released: a check may still be answering while the program winds down.
    static UpdaterManager *const instance = [] {
        // A broken install may lack its version text.
        const QString version = QCoreApplication::applicationVersion();
        return new UpdaterManager(defaultFeedUrl(), version.isEmpty() ? QStringLiteral("1.1") : version,
                                  QByteArrayLiteral(FIKRANEST_UPDATE_PUBLIC_KEY));
    }();
    if (!instance->m_engine)
        instance->m_engine = engine;
    return instance;
}

UpdaterManager *UpdaterManager::create(QQmlEngine *engine, QJSEngine *)
{
    UpdaterManager *manager = shared(engine);
    QJSEngine::setObjectOwnership(manager, QJSEngine::CppOwnership);
    return manager;
}

QUrl UpdaterManager::defaultFeedUrl()
{
#ifdef FIKRANEST_TEST_HOOKS
    const QByteArray override = qgetenv("FIKRANEST_FEED_URL_OVERRIDE");
    if (!override.isEmpty())
        return QUrl(QString::fromUtf8(override));
#endif
    return QUrl(QStringLiteral(FIKRANEST_FEED_URL));
}

QString UpdaterManager::textFor(Failure failure)
{
    switch (failure) {
    case Failure::noNetwork:
        return QStringLiteral("النت زعلان علينا 📡 ما قدرنا نوصل لخبر التحديثات، شيّك على اتصالك وجرّب مرة ثانية");
    case Failure::badFeed:
        return QStringLiteral("خبر التحديثات وصلنا خربان 🤷‍♂️ مو ذنبك، جرّب بعدين");
    case Failure::hugeFeed:
        return QStringLiteral("خبر التحديثات وصلنا أضخم من اللازم 🐘 ما فتحناه، مو ذنبك، جرّب بعدين");
    case Failure::unsignedFeed:
        return QStringLiteral("ملف التحديثات مو موقّع صح، ما راح نثق فيه 🔒");
    case Failure::downloadFailed:
        return QStringLiteral("انقطع التنزيل في نص الطريق 📡 شيّك على اتصالك وجرّب مرة ثانية");
    case Failure::tooLarge:
        return QStringLiteral("التحديث منفوخ أكثر من اللازم 🐳 ما نزّلناه احتياطاً");
    case Failure::noRoom:
        return QStringLiteral("الملف أكبر من المساحة اللي عندك 💾 فضّ شوي مكان وجرّب مرة ثانية");
    case Failure::badLength:
        return QStringLiteral("الملف وصل مو بالحجم اللي المفروض 📏 رميناه، جرّب مرة ثانية");
    case Failure::badSignature:
        return QStringLiteral("توقيع الملف ما طابق 🛑 رميناه احتياطاً، لا تثبّت شي ما تعرف مصدره");
    case Failure::cannotSave:
        return QStringLiteral("ما قدرنا نحفظ الملف في مجلد التنزيلات 💾 شيّك على المساحة والصلاحيات");
    }
    return {};
}

std::optional<UpdaterManager::Failure> UpdaterManager::refusalToDownload(qint64 length, qint64 available)
{
    if (length > maxDownloadBytes)
        return Failure::tooLarge;
    // One of unknown length must at least find the spare room free.
    if (std::max<qint64>(length, 0) > available - spareDiskBytes)
        return Failure::noRoom;
    return std::nullopt;
}

void UpdaterManager::checkForUpdates()
{
    if (!m_window || !m_window->isVisible())
        startCheck();
    showWindow();
}

QString UpdaterManager::downloadedFileName() const
{
    return QFileInfo(m_downloadedPath).fileName();
}

void UpdaterManager::cancel()
{
    abortReply();
    if (m_state == Downloading) {
        dropDownload();
        setState(UpdateAvailable);
        return;
    }
    setState(Idle);
    if (m_window)
        m_window->hide();
}

void UpdaterManager::startCheck()
{
    abortReply();
    dropDownload();
    m_offer = {};
    m_downloadedPath.clear();
    m_newVersion.clear();
    m_releaseNotes.clear();
    m_releaseNotesText.clear();
    m_failureText.clear();
    setState(Checking);

    // What a crash in the middle of a download left behind; nothing else takes these names.
    const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (!downloads.isEmpty()) {
        QDir folder(downloads);
        for (const QString &name : folder.entryList({partFileNames}, QDir::Files | QDir::Hidden | QDir::CaseSensitive))
            folder.remove(name);
    }

    m_reply = get(m_feedUrl);
    QNetworkReply *reply = m_reply;
    // Taken as it comes, a little at a time, so that however much a server sends,
    // no more than the cap is ever held.
    reply->setReadBufferSize(64 * 1024);
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] {
        if (reply == m_reply)
            takeFeedChunk();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        if (reply == m_reply)
            finishReply();
    });
}

bool UpdaterManager::takeFeedChunk()
{
    const qint64 declared = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    m_feed += m_reply->read(std::min(m_reply->bytesAvailable(), maxFeedBytes + 1 - m_feed.size()));
    if (declared <= maxFeedBytes && m_feed.size() <= maxFeedBytes)
        return true;
    abortReply();
    fail(Failure::hugeFeed);
    return false;
}

QNetworkReply *UpdaterManager::get(const QUrl &url)
{
    if (!m_network) {
        m_network = new QNetworkAccessManager(this);
        m_network->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    }
    QNetworkRequest request(url);
    request.setTransferTimeout(timeoutMs);
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Fikranest/%1").arg(m_currentVersion));
    return m_network->get(request);
}

void UpdaterManager::finishReply()
{
    if (m_reply->error() == QNetworkReply::NoError) {
        if (takeFeedChunk()) {
            m_reply = nullptr;
            takeFeed(std::exchange(m_feed, {}));
        }
        return;
    }
    QNetworkReply *reply = m_reply;
    m_reply = nullptr;
    m_feed.clear();
    // The server answered, but not with a feed: a fault on its side, not the network's.
    const bool answered = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    fail(answered ? Failure::badFeed : Failure::noNetwork);
}

void UpdaterManager::abortReply()
{
    m_feed.clear();
    if (QNetworkReply *reply = m_reply) {
        m_reply = nullptr;
        reply->abort();
    }
}

void UpdaterManager::takeFeed(const QByteArray &xml)
{
    // Nothing in it is read before its signature holds: whoever serves the feed could
    // otherwise offer an old, genuinely signed release as a new one.
    const std::optional<SignedFeed> feed = Appcast::unwrap(xml);
    if (!feed || !UpdateSignature::verify(feed->content, feed->edSignature, m_publicKey)) {
        fail(Failure::unsignedFeed);
        return;
    }
    const std::optional<QList<AppcastItem>> items = Appcast::parse(feed->content);
    if (!items) {
        fail(Failure::badFeed);
        return;
    }
    const std::optional<AppcastItem> newest = Appcast::newest(*items);
    if (!newest || VersionOrder::compare(newest->version, m_currentVersion) <= 0) {
        setState(UpToDate);
        return;
    }
    m_offer = *newest;
    m_newVersion = newest->displayVersion;
    m_releaseNotes = ReleaseNotes::inertHtml(newest->releaseNotesHtml);
    m_releaseNotesText = QTextDocumentFragment::fromHtml(m_releaseNotes).toPlainText().trimmed();
    setState(UpdateAvailable);
}

void UpdaterManager::download()
{
    if (m_state != UpdateAvailable)
        return;
    const QString folderPath = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (folderPath.isEmpty() || !QDir().mkpath(folderPath)) {
        fail(Failure::cannotSave);
        return;
    }
    // Settled before anything is asked for, since the declared length could be anything.
    const qint64 available = QStorageInfo(folderPath).bytesAvailable();
    if (const std::optional<Failure> refusal = refusalToDownload(m_offer.length, available)) {
        fail(*refusal);
        return;
    }
    m_downloadLimit = m_offer.length >= 0 ? m_offer.length : std::min(maxDownloadBytes, available - spareDiskBytes);
    // Written beside its final place until it has proved itself.
    m_partFile = new QTemporaryFile(QDir(folderPath).filePath(partFileTemplate), this);
    if (!m_partFile->open()) {
        dropDownload();
        fail(Failure::cannotSave);
        return;
    }
    m_downloadProgress = m_offer.length > 0 ? 0 : -1;
    emit downloadProgressChanged();
    setState(Downloading);

    m_reply = get(m_offer.url);
    QNetworkReply *reply = m_reply;
    // However fast the bytes come, no more than this is held before it is checked.
    reply->setReadBufferSize(256 * 1024);
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] {
        if (reply == m_reply)
            takeDownloadChunk();
    });
    connect(reply, &QNetworkReply::downloadProgress, this, [this, reply](qint64 received, qint64 total) {
        if (reply != m_reply || m_offer.length > 0 || total <= 0)
            return;
        m_downloadProgress = double(received) / double(total);
        emit downloadProgressChanged();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        if (reply == m_reply)
            finishDownload();
    });
}

void UpdaterManager::takeDownloadChunk()
{
    const QByteArray chunk = m_reply->readAll();
    if (m_partFile->size() + chunk.size() > m_downloadLimit) {
        abortReply();
        dropDownload();
        // Longer than declared is not the release on offer; with nothing declared, it
        // ran into the cap or the spare room.
        if (m_offer.length >= 0)
            fail(Failure::badLength);
        else
            fail(m_downloadLimit < maxDownloadBytes ? Failure::noRoom : Failure::tooLarge);
        return;
    }
    if (m_partFile->write(chunk) != chunk.size()) {
        abortReply();
        dropDownload();
        fail(Failure::cannotSave);
        return;
    }
    if (m_offer.length > 0) {
        m_downloadProgress = double(m_partFile->size()) / double(m_offer.length);
        emit downloadProgressChanged();
    }
}

void UpdaterManager::finishDownload()
{
    QNetworkReply *reply = m_reply;
    if (reply->error() == QNetworkReply::NoError)
        takeDownloadChunk();
    m_reply = nullptr;
    if (m_state != Downloading)
        return;
    if (reply->error() != QNetworkReply::NoError) {
        dropDownload();
        fail(Failure::downloadFailed);
        return;
    }
    if (!m_partFile->flush()) {
        dropDownload();
        fail(Failure::cannotSave);
        return;
    }
    const qint64 size = m_partFile->size();
    if (m_offer.length >= 0 && size != m_offer.length) {
        dropDownload();
        fail(Failure::badLength);
        return;
    }
    // Checked as it lies on disk, so what is kept is exactly what was verified.
    const uchar *bytes = size > 0 ? m_partFile->map(0, size) : nullptr;
    const bool signedByUs = (size == 0 || bytes)
        && UpdateSignature::verify(QByteArrayView(bytes, size), m_offer.edSignature, m_publicKey);
    if (!signedByUs) {
        dropDownload();
        fail(Failure::badSignature);
        return;
    }
    const QString path = downloadPath(QFileInfo(m_partFile->fileName()).dir(), m_offer.fileName);
    // Kept from here on; a temporary file would otherwise take its new name with it.
    m_partFile->setAutoRemove(false);
    if (!m_partFile->rename(path)) {
        m_partFile->remove();
        dropDownload();
        fail(Failure::cannotSave);
        return;
    }
    m_partFile->setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    delete m_partFile;
    m_partFile = nullptr;
    m_downloadedPath = path;
    m_downloadProgress = 1;
    emit downloadProgressChanged();
    setState(Downloaded);
    showDownload();
}

void UpdaterManager::dropDownload()
{
    // Removes the unfinished file with it.
    delete m_partFile;
    m_partFile = nullptr;
}

void UpdaterManager::showDownload() const
{
    if (!m_downloadedPath.isEmpty())
        FileManager::showItem(m_downloadedPath);
}

void UpdaterManager::fail(Failure failure)
{
    m_failureText = textFor(failure);
    setState(Failed);
}

void UpdaterManager::setState(State state)
{
    m_state = state;
    emit changed();
}

void UpdaterManager::showWindow()
{
    const auto setUp = [this](QQuickWindow &window) {
        // Closing the window gives up on a check or a download still under way.
        connect(&window, &QWindow::visibleChanged, this, [this](bool visible) {
            if (!visible && (m_state == Checking || m_state == Downloading))
                cancel();
        });
        // Gone before the engine it was made by.
        connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { delete m_window.data(); });
        if (QScreen *screen = QGuiApplication::primaryScreen()) {
            const QRect available = screen->availableGeometry();
            window.setPosition(available.center() - QPoint(window.width() / 2, window.height() / 2));
        }
    };
    if (m_engine
        && AppWindow::ensure(*m_engine, QUrl(QStringLiteral("qrc:/Fikranest/Update/UpdaterWindow.qml")), m_window, setUp))
        AppWindow::present(*m_window);
}

extern "C" Q_DECL_EXPORT void fikranest_check_for_updates(QQmlEngine *engine)
{
    UpdaterManager::shared(engine)->checkForUpdates();
}
