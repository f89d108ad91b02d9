#include "AppSettings.h"

#include "QmlSingleton.h"

AppSettings::AppSettings()
    : m_settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Fikranest"),
                 QStringLiteral("Fikranest"))
{
}

AppSettings &AppSettings::instance()
{
    static AppSettings settings;
    return settings;
}

QString AppSettings::speechModelFolder()
{
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Fikranest"),
                             QStringLiteral("Fikranest"));
    return settings.value(QStringLiteral("speechModelFolder")).toString();
}

AppSettings *AppSettings::create(QQmlEngine *, QJSEngine *)
{
    return qmlSingleton(instance());
}

bool AppSettings::hasCompletedOnboarding() const
{
    return m_settings.value(QStringLiteral("hasCompletedOnboarding"), false).toBool();
}

void AppSettings::setHasCompletedOnboarding(bool value)
{
    if (value == hasCompletedOnboarding())
        return;
    write(QStringLiteral("hasCompletedOnboarding"), value);
    emit hasCompletedOnboardingChanged();
}

QString AppSettings::userName() const
{
    return m_settings.value(QStringLiteral("userName")).toString();
}

void AppSettings::setUserName(const QString &value)
{
    if (value == userName())
        return;
    write(QStringLiteral("userName"), value);
    emit userNameChanged();
}

bool AppSettings::autostartWritten() const
{
    return m_settings.value(QStringLiteral("autostartWritten"), false).toBool();
}

void AppSettings::setAutostartWritten()
{
    write(QStringLiteral("autostartWritten"), true);
}

QString AppSettings::lastSeenVersion() const
{
    return m_settings.value(QStringLiteral("lastSeenVersion")).toString();
}

void AppSettings::setLastSeenVersion(const QString &value)
{
    if (value == lastSeenVersion())
        return;
    write(QStringLiteral("lastSeenVersion"), value);
    emit lastSeenVersionChanged();
}

AppSettings::SyncAccount AppSettings::syncAccount()
{
    m_settings.sync();
    return {m_settings.value(QStringLiteral("syncServer")).toString(),
            m_settings.value(QStringLiteral("syncUser")).toString(),
            m_settings.value(QStringLiteral("syncList")).toString()};
}

void AppSettings::setSyncAccount(const SyncAccount &account)
{
    if (account == syncAccount())
        return;
    const std::pair<QString, QString> keys[] = {{QStringLiteral("syncServer"), account.server},
                                                {QStringLiteral("syncUser"), account.user},
                                                {QStringLiteral("syncList"), account.list}};
    for (const auto &[key, value] : keys) {
        if (value.isEmpty())
            m_settings.remove(key);
        else
            m_settings.setValue(key, value);
    }
    m_settings.sync();
    emit syncAccountChanged();
}

void AppSettings::write(const QString &key, const QVariant &value)
{
    m_settings.setValue(key, value);
    // Flushed at once: a preference must not wait for a clean exit.
    m_settings.sync();
}
