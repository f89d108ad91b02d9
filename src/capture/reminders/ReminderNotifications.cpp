#include "ReminderNotifications.h"

const QStringList &ReminderNotifications::funnyLines()
{
    static const QStringList lines = {
        QStringLiteral("تنبيه عاجل!! يوجد لديك فكرة تصيح بالزاوية تقول وينكم عني 😱"),
        QStringLiteral("هذي الفكرة ما نامت من يومها وهي تنتظرك 🥺"),
        QStringLiteral("فكرتك تقول: أنا مهمة! لا تنسوني! 📢"),
        QStringLiteral("موعدك مع فكرتك حان.. لا تطنشها 😤"),
        QStringLiteral("الفكرة هذي بتزعل لو ما فتحتها الحين 😢"),
        QStringLiteral("وش ذا الإهمال؟ فكرتك تبي اهتمام! 😡"),
        QStringLiteral("كنت بنام بس فكرتك ما خلتني 🥱"),
        QStringLiteral("لو الفكرة تقدر تمشي كان جتك بنفسها 🚶"),
        QStringLiteral("الفكرة تقول: طال الانتظار يا صاحبي 😢"),
        QStringLiteral("هذي فكرتك وهي زعلانة منك 😤💡"),
    };
    return lines;
}

QString ReminderNotifications::title()
{
    return QStringLiteral("الفكرون 🗑️");
}

void ReminderNotifications::scheduleNotification(const Idea &idea, NotificationCenter &center,
                                                 const SecureRandom::Source &random, const QTimeZone &zone)
{
    if (!idea.reminderDate)
        return;
    const QStringList &lines = funnyLines();
    const QString body = lines.at(SecureRandom::uniform(quint32(lines.size()), random));
    // Seconds are dropped: the reminder belongs to the minute.
    const QDateTime local = idea.reminderDate->toTimeZone(zone);
    const QDate date = local.date();
    const QTime time = local.time();
    center.add({idea.idText(), title(), body, QStringLiteral("default"),
                {date.year(), date.month(), date.day(), time.hour(), time.minute()}});
}

void ReminderNotifications::cancelNotification(const QString &identifier, NotificationCenter &center)
{
    center.removePendingRequests({identifier});
}
