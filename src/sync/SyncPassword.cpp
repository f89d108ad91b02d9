#include "SyncPassword.h"

#include <QEventLoop>
#include <qt6keychain/keychain.h>

namespace {

const QString service = QStringLiteral("Fikranest");

SyncPassword::Outcome outcome(const QKeychain::Job &job)
{
    switch (job.error()) {
    case QKeychain::NoError:
        return SyncPassword::Outcome::done;
    case QKeychain::EntryNotFound:
        return SyncPassword::Outcome::missing;
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented:
        return SyncPassword::Outcome::noStore;
    default:
        // No Secret Service on the bus shows up here too, as a D-Bus error.
        return job.errorString().contains(QLatin1String("org.freedesktop.DBus.Error"))
            ? SyncPassword::Outcome::noStore : SyncPassword::Outcome::failed;
    }
}

template <typename Job>
Job *prepared(const QString &key)
{
    auto *job = new Job(service);
    job->setAutoDelete(true);
    // Never a plain-text file when no secret store answers.
    job->setInsecureFallback(false);
    job->setKey(key);
    return job;
}

template <typename Start>
SyncPassword::Outcome waitFor(Start start)
{
    QEventLoop loop;
    SyncPassword::Outcome result = SyncPassword::Outcome::failed;
    start([&](SyncPassword::Outcome found) {
        result = found;
        loop.quit();
    });
    loop.exec();
    return result;
}

} // namespace

QString SyncPassword::key(const QString &user, const QString &server)
{
    return user + QLatin1Char('@') + server;
}

void SyncPassword::read(const QString &key, std::function<void(Outcome, const QString &)> done)
{
    auto *job = prepared<QKeychain::ReadPasswordJob>(key);
    QObject::connect(job, &QKeychain::Job::finished, [done = std::move(done)](QKeychain::Job *finished) {
        const auto *reading = static_cast<QKeychain::ReadPasswordJob *>(finished);
        const Outcome result = outcome(*reading);
        done(result, result == Outcome::done ? reading->textData() : QString());
    });
    job->start();
}

void SyncPassword::write(const QString &key, const QString &password, std::function<void(Outcome)> done)
{
    auto *job = prepared<QKeychain::WritePasswordJob>(key);
    job->setTextData(password);
    QObject::connect(job, &QKeychain::Job::finished,
                     [done = std::move(done)](QKeychain::Job *finished) { done(outcome(*finished)); });
    job->start();
}

void SyncPassword::forget(const QString &key, std::function<void(Outcome)> done)
{
    auto *job = prepared<QKeychain::DeletePasswordJob>(key);
    QObject::connect(job, &QKeychain::Job::finished,
                     [done = std::move(done)](QKeychain::Job *finished) { done(outcome(*finished)); });
    job->start();
}

SyncPassword::Outcome SyncPassword::readNow(const QString &key, QString &password)
{
    return waitFor([&](auto finish) {
        read(key, [&password, finish](Outcome found, const QString &text) {
            password = text;
            finish(found);
        });
    });
}

SyncPassword::Outcome SyncPassword::writeNow(const QString &key, const QString &password)
{
    return waitFor([&](auto finish) { write(key, password, finish); });
}

SyncPassword::Outcome SyncPassword::forgetNow(const QString &key)
{
    return waitFor([&](auto finish) { forget(key, finish); });
}
