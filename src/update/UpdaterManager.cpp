#include "UpdaterManager.h"

#include "AppVersion.h"
#include "Appcast.h"
#include "ReleaseNotes.h"
#include "VersionOrder.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QScreen>
#include <QTextDocumentFragment>

UpdaterManager::UpdaterManager(QUrl feedUrl, QString currentVersion, QObject *parent)
    : QObject(parent), m_feedUrl(std::move(feedUrl)), m_currentVersion(std::move(currentVersion))
{
}

UpdaterManager *UpdaterManager::shared(QQmlEngine *engine)
{
    // Never released: a check may still be answering while the program winds down.
    static UpdaterManager *const instance =
        new UpdaterManager(defaultFeedUrl(), AppVersion::shortVersionString().value_or(QStringLiteral("1.1")));
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
    }
    return {};
}

void UpdaterManager::checkForUpdates()
{
    if (!m_window || !m_window->isVisible())
        startCheck();
    showWindow();
}

void UpdaterManager::cancel()
{
    abortReply();
    setState(Idle);
    if (m_window)
        m_window->hide();
}

void UpdaterManager::startCheck()
{
    abortReply();
    m_newVersion.clear();
    m_releaseNotes.clear();
    m_releaseNotesText.clear();
    m_failureText.clear();
    setState(Checking);

    if (!m_network) {
        m_network = new QNetworkAccessManager(this);
        m_network->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    }
    QNetworkRequest request(m_feedUrl);
    request.setTransferTimeout(timeoutMs);
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Fikranest/%1").arg(m_currentVersion));
    m_reply = m_network->get(request);
    QNetworkReply *reply = m_reply;
    connect(reply, &QNetworkReply::downloadProgress, this, [this, reply](qint64 received, qint64) {
        if (received > maxFeedBytes && reply == m_reply) {
            abortReply();
            fail(Failure::badFeed);
        }
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        reply->deleteLater();
        if (reply == m_reply)
            finishReply();
    });
}

void UpdaterManager::finishReply()
{
    QNetworkReply *reply = m_reply;
    m_reply = nullptr;
    if (reply->error() == QNetworkReply::NoError) {
        takeFeed(reply->readAll());
        return;
    }
    // The server answered, but not with a feed: a fault on its side, not the network's.
    const bool answered = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    fail(answered ? Failure::badFeed : Failure::noNetwork);
}

void UpdaterManager::abortReply()
{
    if (QNetworkReply *reply = m_reply) {
        m_reply = nullptr;
        reply->abort();
    }
}

void UpdaterManager::takeFeed(const QByteArray &xml)
{
    const std::optional<QList<AppcastItem>> items = Appcast::parse(xml);
    if (!items) {
        fail(Failure::badFeed);
        return;
    }
    const std::optional<AppcastItem> newest = Appcast::newest(*items);
    if (!newest || VersionOrder::compare(newest->version, m_currentVersion) <= 0) {
        setState(UpToDate);
        return;
    }
    m_newVersion = newest->displayVersion;
    m_releaseNotes = ReleaseNotes::inertHtml(newest->releaseNotesHtml);
    m_releaseNotesText = QTextDocumentFragment::fromHtml(m_releaseNotes).toPlainText().trimmed();
    setState(UpdateAvailable);
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
    if (!m_window && m_engine) {
        QQmlComponent component(m_engine, QUrl(QStringLiteral("qrc:/Fikranest/UpdaterWindow.qml")));
        m_window = qobject_cast<QQuickWindow *>(component.create());
        if (!m_window) {
            qWarning("%s", qPrintable(component.errorString()));
            return;
        }
        // Closing the window gives up on a check still under way.
        connect(m_window, &QWindow::visibleChanged, this, [this](bool visible) {
            if (!visible && m_state == Checking)
                cancel();
        });
        // Gone before the engine it was made by.
        connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { delete m_window.data(); });
        if (QScreen *screen = QGuiApplication::primaryScreen()) {
            const QRect available = screen->availableGeometry();
            m_window->setPosition(available.center() - QPoint(m_window->width() / 2, m_window->height() / 2));
        }
    }
    if (!m_window)
        return;
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}
