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

void AppSettings::write(const QString &key, const QVariant &value)
{
    m_settings.setValue(key, value);
    // Flushed at once: a preference must not wait for a clean exit.
    m_settings.sync();
}
