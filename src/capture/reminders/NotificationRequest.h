#pragma once

#include <QString>

// A calendar minute on the local wall clock; a request fires once, when it arrives.
struct NotificationTrigger
{
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;

    friend bool operator==(const NotificationTrigger &, const NotificationTrigger &) = default;
};

// One local notification waiting for its minute. A later request with the same
// identifier takes the place of the earlier one.
struct NotificationRequest
{
    QString identifier;
    QString title;
    QString body;
    QString sound; // a sound name; "default" is the desktop's own, empty for none
    NotificationTrigger trigger;

    friend bool operator==(const NotificationRequest &, const NotificationRequest &) = default;
};
