#pragma once

#include "NotificationCenter.h"

// Keeps requests in memory, replacing by identifier like the desktop one.
class FakeNotificationCenter : public NotificationCenter
{
public:
    QList<NotificationRequest> requests;
    bool grants = true;

    void add(const NotificationRequest &request) override
    {
        removePendingRequests({request.identifier});
        requests << request;
    }
    void removePendingRequests(const QStringList &identifiers) override
    {
        requests.removeIf([&](const NotificationRequest &r) { return identifiers.contains(r.identifier); });
    }
    void requestAuthorization(std::function<void(bool)> completion) override { completion(grants); }
    QList<NotificationRequest> pendingRequests() const override { return requests; }
};
