#pragma once

#include "AppClock.h"
#include "Idea.h"
#include "NotificationCenter.h"
#include "SecureRandom.h"

#include <QStringList>
#include <QTimeZone>

// The reminder an idea carries: one joking notification at its reminder minute,
// identified by the idea's id so it can be cancelled by the same text.
class ReminderNotifications
{
public:
    static const QStringList &funnyLines();
    static QString title();

    // Does nothing for an idea without a reminder date.
    static void scheduleNotification(const Idea &idea, NotificationCenter &center,
                                     const SecureRandom::Source &random = SecureRandom::systemWord,
                                     const QTimeZone &zone = AppClock::timeZone());
    static void cancelNotification(const QString &identifier, NotificationCenter &center);
};
