#pragma once

#include "NotificationRequest.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <functional>

// Where reminders are handed for delivery. The rest of the program sees only this,
// so tests can stand in for the desktop.
class NotificationCenter : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual void add(const NotificationRequest &request) = 0;
    // Unknown identifiers are ignored.
    virtual void removePendingRequests(const QStringList &identifiers) = 0;
    // `completion` runs once, later, on the main thread.
    virtual void requestAuthorization(std::function<void(bool granted)> completion) = 0;
    virtual QList<NotificationRequest> pendingRequests() const = 0;

    // The centre the program's views deliver through, set once at start-up.
    static NotificationCenter *shared() { return sharedSlot(); }
    static void setShared(NotificationCenter *center) { sharedSlot() = center; }

signals:
    // The user clicked a notification that came from the request `identifier`.
    void notificationActivated(const QString &identifier);

private:
    static NotificationCenter *&sharedSlot()
    {
        static NotificationCenter *center = nullptr;
        return center;
    }
};
