#include "SyncService.h"

#include "AppClock.h"
#include "AppSettings.h"
#include "IdeaStore.h"
#include "QmlSingleton.h"
#include "StoreSyncTarget.h"
#include "SyncLedger.h"
#include "SyncPassword.h"

#include <QNetworkInformation>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto soonAfterChange = 2s;
constexpr auto everyWhile = 5min;
constexpr auto firstRetry = 30s;
constexpr auto lastRetry = 30min;

} // namespace

SyncService::SyncService()
{
    m_soon.setSingleShot(true);
    m_soon.setInterval(soonAfterChange);
    connect(&m_soon, &QTimer::timeout, this, [this] { syncNow(); });
    m_every.setInterval(everyWhile);
    connect(&m_every, &QTimer::timeout, this, [this] {
        if (!m_blocked)
            syncNow();
    });
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, [this] { syncNow(); });
}

SyncService &SyncService::instance()
{
    static SyncService service;
    return service;
}

SyncService *SyncService::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}

SyncService::~SyncService()
{
    stop();
}

void SyncService::start(const QString &storePath, Applier apply, bool automatic)
{
    m_storePath = storePath;
    m_apply = [this, apply = std::move(apply)](const QList<SyncChange> &changes) {
        m_applying = true;
        const bool ok = apply(changes);
        m_applying = false;
        return ok;
    };
    m_automatic = automatic;
    *m_stopping = false;
    m_worker = new QObject;
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread.setObjectName(QStringLiteral("sync"));
    m_thread.start(QThread::LowPriority);
    if (!automatic)
        return;
    if (IdeaStore *store = IdeaStore::shared()) {
        connect(store, &IdeaStore::inserted, this, &SyncService::localChange);
        connect(store, &IdeaStore::updated, this, &SyncService::localChange);
        connect(store, &IdeaStore::removed, this, &SyncService::localChange);
    }
    loadAccount([this] {
        if (connected()) {
            keepWatching();
            syncNow();
        }
    });
}

void SyncService::keepWatching()
{
    m_every.start();
    // Only a connected account has a network to wait for.
    if (std::exchange(m_watchingNetwork, true)
        || !QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability))
        return;
    connect(QNetworkInformation::instance(), &QNetworkInformation::reachabilityChanged, this,
            [this](QNetworkInformation::Reachability reachability) {
                if (reachability == QNetworkInformation::Reachability::Online
                    && m_failure == failureText(CalDavClient::Failure::offline))
                    syncNow();
            });
}

void SyncService::stop()
{
    if (!m_thread.isRunning())
        return;
    *m_stopping = true;
    m_thread.quit();
    m_thread.wait();
}

QString SyncService::host() const
{
    const QUrl url = QUrl::fromUserInput(m_account.server);
    return url.host().isEmpty() ? m_account.server : url.host();
}

void SyncService::loadAccount(std::function<void()> then)
{
    const AppSettings::SyncAccount kept = AppSettings::instance().syncAccount();
    if (!kept.isSet()) {
        m_account = {};
        emit stateChanged();
        then();
        return;
    }
    SyncPassword::read(SyncPassword::key(kept.user, kept.server),
                       [this, kept, then](SyncPassword::Outcome outcome, const QString &password) {
                           m_account = {kept.server, kept.user, kept.list, password};
                           if (outcome == SyncPassword::Outcome::noStore)
                               setFailure(noSecretStoreText());
                           else if (outcome != SyncPassword::Outcome::done)
                               setFailure(failureText(CalDavClient::Failure::unauthorized));
                           m_blocked = outcome != SyncPassword::Outcome::done;
                           emit stateChanged();
                           then();
                       });
}

template <typename Work>
void SyncService::onSyncThread(Work work)
{
    QMetaObject::invokeMethod(m_worker, std::move(work));
}

void SyncService::localChange()
{
    if (!m_applying && connected() && !m_blocked)
        m_soon.start();
}

void SyncService::syncNow(Done done)
{
    if (done)
        m_waiting << std::move(done);
    if (m_busy) {
        m_again = true;
        return;
    }
    // The command line's launch may have changed the account since this one read it.
    const AppSettings::SyncAccount kept = AppSettings::instance().syncAccount();
    if (kept.server != m_account.server || kept.user != m_account.user || kept.list != m_account.list
        || m_account.password.isEmpty()) {
        setBusy(true);
        loadAccount([this] {
            setBusy(false);
            if (connected() && !m_blocked)
                runPass();
            else
                finishPass({});
        });
        return;
    }
    runPass();
}

void SyncService::runPass()
{
    if (!connected() || !m_worker) {
        finishPass({});
        return;
    }
    setBusy(true);
    m_soon.stop();
    m_retry.stop();
    const Account account = m_account;
    const QString storePath = m_storePath;
    auto stopping = m_stopping;
    auto apply = m_apply;
    onSyncThread([this, account, storePath, stopping, apply] {
        SyncEngine::Report report;
        SyncLedger::Opening opening = SyncLedger::open(SyncLedger::pathBeside(storePath));
        if (!opening.ledger) {
            report.ledgerFailed = true;
        } else if (opening.ledger->listUrl() != account.list && !opening.ledger->setListUrl(account.list)) {
            report.ledgerFailed = true;
        } else {
            CalDavClient client({QUrl::fromUserInput(account.server), account.user, account.password});
            StoreSyncTarget target(storePath, this, apply, stopping);
            report = SyncEngine(client, *opening.ledger, target).run(QUrl(account.list));
        }
        QMetaObject::invokeMethod(this, [this, report] { finishPass(report); });
    });
}

void SyncService::finishPass(const SyncEngine::Report &report)
{
    setBusy(false);
    const bool ok = connected() && report.ok();
    if (ok) {
        m_failures = 0;
        m_blocked = false;
        m_lastSyncedAt = AppClock::now();
        setFailure(report.unreadable > 0 ? unreadableText(report.unreadable) : QString());
        if (m_automatic && !m_every.isActive())
            keepWatching();
    } else if (connected() && report.error) {
        setFailure(failureText(report.error.failure));
        scheduleRetry(report.error.failure);
    } else if (connected() && report.ledgerFailed) {
        setFailure(QStringLiteral("ما قدرنا نحفظ حالة المزامنة في جهازك 💾"));
        scheduleRetry(CalDavClient::Failure::server);
    }
    emit stateChanged();
    const QString line = !connected() ? QStringLiteral("المزامنة مو مربوطة، اربطها أول 🔗")
                                      : ok ? summary(report) : m_failure;
    const QList<Done> waiting = std::exchange(m_waiting, {});
    for (const Done &done : waiting)
        done(ok, line);
    if (std::exchange(m_again, false))
        syncNow();
}

void SyncService::scheduleRetry(CalDavClient::Failure failure)
{
    using Failure = CalDavClient::Failure;
    m_blocked = failure == Failure::unauthorized || failure == Failure::gone || failure == Failure::untrusted
        || failure == Failure::insecure;
    // Offline waits for the network to come back, and for the five-minute round.
    if (!m_automatic || m_blocked || failure == Failure::offline)
        return;
    const auto wait = std::min<std::chrono::milliseconds>(firstRetry * (1 << std::min(m_failures, 6)), lastRetry);
    ++m_failures;
    m_retry.start(wait);
}

void SyncService::findLists(const QString &server, const QString &user, const QString &password)
{
    m_connecting = {server.trimmed(), user.trimmed(), {}, password};
    const Account account = m_connecting;
    setBusy(true);
    onSyncThread([this, account] {
        CalDavClient client({QUrl::fromUserInput(account.server), account.user, account.password});
        QList<CalDavClient::TaskList> lists;
        const CalDavClient::Error error = client.taskLists(lists);
        QMetaObject::invokeMethod(this, [this, error, lists] {
            setBusy(false);
            if (error) {
                emit connectFailed(failureText(error.failure));
                return;
            }
            QVariantList found;
            for (const CalDavClient::TaskList &list : lists)
                found << QVariantMap{{QStringLiteral("url"), list.url.toString()},
                                     {QStringLiteral("name"), list.displayName}};
            emit listsFound(found);
        });
    });
}

void SyncService::useList(const QString &listUrl, const QString &newListName)
{
    const Account account = m_connecting;
    setBusy(true);
    onSyncThread([this, account, listUrl, newListName] {
        CalDavClient::TaskList list{QUrl(listUrl), {}};
        CalDavClient::Error error;
        if (listUrl.isEmpty()) {
            CalDavClient client({QUrl::fromUserInput(account.server), account.user, account.password});
            error = client.makeTaskList(newListName, list);
        }
        QMetaObject::invokeMethod(this, [this, account, error, list] {
            if (error) {
                setBusy(false);
                emit connectFailed(failureText(error.failure));
                return;
            }
            SyncPassword::write(SyncPassword::key(account.user, account.server), account.password,
                                [this, account, list](SyncPassword::Outcome outcome) {
                                    setBusy(false);
                                    if (outcome != SyncPassword::Outcome::done) {
                                        emit connectFailed(outcome == SyncPassword::Outcome::noStore
                                                               ? noSecretStoreText()
                                                               : QStringLiteral("ما قدرنا نحفظ كلمة السر 🔐"));
                                        return;
                                    }
                                    m_account = account;
                                    m_account.list = list.url.toString();
                                    m_connecting = {};
                                    m_blocked = false;
                                    m_failures = 0;
                                    AppSettings::instance().setSyncAccount(
                                        {m_account.server, m_account.user, m_account.list});
                                    setFailure({});
                                    emit stateChanged();
                                    emit connectedNow();
                                    syncNow();
                                });
        });
    });
}

void SyncService::disconnectAccount(std::function<void()> done)
{
    // Read from the file, as a launch that never loaded the account knows it only there.
    const AppSettings::SyncAccount account = AppSettings::instance().syncAccount();
    m_account = {};
    m_blocked = false;
    m_failures = 0;
    m_retry.stop();
    m_every.stop();
    m_soon.stop();
    AppSettings::instance().setSyncAccount({});
    setFailure({});
    m_lastSyncedAt = {};
    emit stateChanged();
    const QString storePath = m_storePath;
    const auto forgetLedger = [this, storePath, done = std::move(done)] {
        onSyncThread([this, storePath, done] {
            if (SyncLedger::Opening opening = SyncLedger::open(SyncLedger::pathBeside(storePath)); opening.ledger)
                opening.ledger->clear();
            if (done)
                QMetaObject::invokeMethod(this, done);
        });
    };
    if (account.server.isEmpty())
        forgetLedger();
    else
        SyncPassword::forget(SyncPassword::key(account.user, account.server),
                             [forgetLedger](SyncPassword::Outcome) { forgetLedger(); });
}

QString SyncService::disconnectedText()
{
    return QStringLiteral("انفصلت المزامنة، أفكارك باقية في جهازك 👍");
}

void SyncService::setBusy(bool busy)
{
    if (std::exchange(m_busy, busy) != busy)
        emit busyChanged();
}

void SyncService::setFailure(const QString &failure)
{
    if (std::exchange(m_failure, failure) != failure)
        emit stateChanged();
}

QString SyncService::summary(const SyncEngine::Report &report)
{
    QString line = QStringLiteral("تمت المزامنة ✅ وصل من السيرفر %1 وانرسل له %2").arg(report.received).arg(report.sent);
    if (report.unreadable > 0)
        line += QStringLiteral("، و") + unreadableText(report.unreadable);
    return line;
}

QString SyncService::failureText(CalDavClient::Failure failure)
{
    using Failure = CalDavClient::Failure;
    switch (failure) {
    case Failure::offline:
        return QStringLiteral("ما فيه نت 🌐");
    case Failure::unauthorized:
        return QStringLiteral("اسم المستخدم أو كلمة السر غلط 🔑");
    case Failure::untrusted:
        return QStringLiteral("شهادة السيرفر مو موثوقة، ما راح نكمل 🔒");
    case Failure::insecure:
        return QStringLiteral("العنوان لازم يبدأ بـ https عشان كلمة السر توصل بأمان 🔒");
    case Failure::gone:
        return QStringLiteral("القائمة انحذفت من السيرفر 🤷");
    case Failure::none:
    case Failure::precondition:
    case Failure::invalidToken:
    case Failure::unsupported:
    case Failure::server:
        break;
    }
    return QStringLiteral("السيرفر ما رد زين 😵 بنحاول مرة ثانية بعد شوي");
}

QString SyncService::noSecretStoreText()
{
    return QStringLiteral("ما لقينا مكان آمن نحفظ فيه كلمة السر 🔐");
}

QString SyncService::unreadableText(int count)
{
    return QStringLiteral("ما قدرنا نقرأ %1 من المهام اللي على السيرفر").arg(count);
}
