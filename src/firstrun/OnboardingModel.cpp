#include "OnboardingModel.h"

#include "AppSettings.h"
#include "Idea.h"
#include "NotificationCenter.h"

OnboardingModel::OnboardingModel(QObject *parent)
    : OnboardingModel(&AppSettings::instance(), NotificationCenter::shared(), parent)
{
}

OnboardingModel::OnboardingModel(AppSettings *settings, NotificationCenter *notifications, QObject *parent)
    : QObject(parent), m_settings(settings), m_notifications(notifications)
{
    connect(settings, &AppSettings::userNameChanged, this, &OnboardingModel::readyTitleChanged);
}

void OnboardingModel::setNameInput(const QString &name)
{
    if (name == m_nameInput)
        return;
    m_nameInput = name;
    emit nameInputChanged();
}

// A name trims like an idea's title: spaces and tabs go, a pasted line break stays.
bool OnboardingModel::canStart() const
{
    return !Idea::trimmedTitle(m_nameInput).isEmpty();
}

QString OnboardingModel::readyTitle() const
{
    return QStringLiteral("جاهز يا ") + m_settings->userName() + u'!';
}

void OnboardingModel::start()
{
    const QString name = Idea::trimmedTitle(m_nameInput);
    if (name.isEmpty())
        return;
    m_settings->setUserName(name);
    setStep(1);
}

void OnboardingModel::continueToNotifications()
{
    setStep(2);
}

void OnboardingModel::enableNotifications()
{
    // The answer comes later; the walkthrough may be gone by then.
    m_notifications->requestAuthorization([self = QPointer(this)](bool granted) {
        if (!self)
            return;
        self->m_notificationsGranted = granted;
        self->setStep(3);
    });
}

void OnboardingModel::declineNotifications()
{
    setStep(3);
}

void OnboardingModel::finish()
{
    m_settings->setHasCompletedOnboarding(true);
}

void OnboardingModel::setStep(int step)
{
    if (step == m_step)
        return;
    m_step = step;
    emit stepChanged();
}
