#pragma once

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class AppSettings;
class NotificationCenter;

// The walkthrough's state and rules: which page shows, the name being typed, and
// what each page's buttons do. The view only draws it.
class OnboardingModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int step READ step NOTIFY stepChanged)
    Q_PROPERTY(int totalSteps READ totalSteps CONSTANT)
    Q_PROPERTY(QString nameInput READ nameInput WRITE setNameInput NOTIFY nameInputChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY nameInputChanged)
    Q_PROPERTY(QString readyTitle READ readyTitle NOTIFY readyTitleChanged)

public:
    // Over the program's settings and notification centre.
    explicit OnboardingModel(QObject *parent = nullptr);
    OnboardingModel(AppSettings *settings, NotificationCenter *notifications, QObject *parent = nullptr);

    int step() const { return m_step; }
    static int totalSteps() { return 4; }
    QString nameInput() const { return m_nameInput; }
    void setNameInput(const QString &name);
    bool canStart() const;
    // Only recorded: no page reads the answer.
    bool notificationsGranted() const { return m_notificationsGranted; }
    QString readyTitle() const;

    // Page 0: keeps the name, trimmed, and moves on; a blank name does nothing.
    Q_INVOKABLE void start();
    // Page 1.
    Q_INVOKABLE void continueToNotifications();
    // Page 2: moves on once the answer is in, whatever it is.
    Q_INVOKABLE void enableNotifications();
    Q_INVOKABLE void declineNotifications();
    // Page 3: the root view swaps the walkthrough for the list when it sees the flag.
    Q_INVOKABLE void finish();

signals:
    void stepChanged();
    void nameInputChanged();
    void readyTitleChanged();

private:
    void setStep(int step);

    AppSettings *m_settings;
    QPointer<NotificationCenter> m_notifications;
    int m_step = 0;
    QString m_nameInput;
    bool m_notificationsGranted = false;
};
