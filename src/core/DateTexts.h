#pragma once

#include "AppClock.h"

#include <QDateTime>
#include <QLocale>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

// Every date the program shows, worded by ICU in Arabic and the given zone.
// A failing ICU falls back to Qt's short date, never to an empty text.
class DateTexts : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // Moves on every minute boundary, so bindings that pass it along refresh themselves.
    Q_PROPERTY(QDateTime now READ now NOTIFY nowChanged)

public:
    explicit DateTexts(QObject *parent = nullptr);

    // The program speaks only Arabic, its dates too: in the region of the system's locale
    // where it names one (the nearest Qt knows), plain Arabic otherwise.
    static QLocale arabicLocale();

    // "now", "5 minutes ago", "yesterday", "last week", "in 2 days".
    static QString relative(const QDateTime &date, const QDateTime &now,
                            const QLocale &locale = DateTexts::arabicLocale(),
                            const QTimeZone &zone = AppClock::timeZone());
    // Day, month name, hour with its AM/PM marker, minute.
    static QString reminder(const QDateTime &date, const QLocale &locale = DateTexts::arabicLocale(),
                            const QTimeZone &zone = AppClock::timeZone());
    // Day, month name, year, hour, minute.
    static QString creation(const QDateTime &date, const QLocale &locale = DateTexts::arabicLocale(),
                            const QTimeZone &zone = AppClock::timeZone());

    // `now` is the property's, which steps once a minute: what was made since its last
    // step reads "now" rather than "in 5 seconds".
    Q_INVOKABLE QString relativeText(const QDateTime &date, const QDateTime &now) const
    {
        const bool sinceLastStep = date > now && now.secsTo(date) < 60;
        return relative(sinceLastStep ? now : date, now);
    }
    Q_INVOKABLE QString reminderText(const QDateTime &date) const { return reminder(date); }
    Q_INVOKABLE QString creationText(const QDateTime &date) const { return creation(date); }

    QDateTime now() const { return m_now; }

signals:
    void nowChanged();

private:
    void tick();

    QDateTime m_now;
    QTimer m_minute;
};
