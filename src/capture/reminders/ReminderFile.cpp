#include "ReminderFile.h"

#include <QDate>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTime>

#include <optional>

namespace {

QJsonObject toJson(const NotificationRequest &request)
{
    const NotificationTrigger &trigger = request.trigger;
    return {
        {"identifier", request.identifier},
        {"title", request.title},
        {"body", request.body},
        {"sound", request.sound},
        {"trigger", QJsonObject{{"year", trigger.year}, {"month", trigger.month}, {"day", trigger.day},
                                {"hour", trigger.hour}, {"minute", trigger.minute}}},
    };
}

std::optional<NotificationRequest> fromJson(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    const QJsonObject trigger = object.value("trigger").toObject();
    bool complete = true;
    const auto text = [&](const char *key) {
        const QJsonValue field = object.value(QLatin1String(key));
        complete = complete && field.isString();
        return field.toString();
    };
    const auto number = [&](const char *key) {
        const QJsonValue field = trigger.value(QLatin1String(key));
        const int whole = field.toInt();
        complete = complete && field.isDouble() && field.toDouble() == whole;
        return whole;
    };
    NotificationRequest request{
        text("identifier"),
        text("title"),
        text("body"),
        text("sound"),
        {number("year"), number("month"), number("day"), number("hour"), number("minute")},
    };
    const NotificationTrigger &when = request.trigger;
    if (!complete || request.identifier.isEmpty() || !QDate(when.year, when.month, when.day).isValid()
        || !QTime(when.hour, when.minute).isValid())
        return std::nullopt;
    return request;
}

} // namespace

namespace ReminderFile {

Contents read(const QByteArray &pending, const QByteArray &journal)
{
    QSet<QByteArray> shown;
    for (const QByteArray &line : journal.split('\n')) {
        if (!line.isEmpty())
            shown.insert(line);
    }

    Contents contents;
    const QJsonDocument document = QJsonDocument::fromJson(pending);
    contents.complete = document.isArray();
    QHash<QString, qsizetype> position;
    for (const QJsonValue &value : document.array()) {
        const std::optional<NotificationRequest> request = fromJson(value);
        if (!request) {
            contents.complete = false;
            continue;
        }
        // Matched by the whole request: one set again after it was shown is a new reminder.
        if (!shown.isEmpty() && shown.contains(journalLine(*request).chopped(1))) {
            contents.journaled = true;
            continue;
        }
        const auto earlier = position.constFind(request->identifier);
        if (earlier != position.constEnd()) {
            contents.requests[*earlier] = *request;
        } else {
            position.insert(request->identifier, contents.requests.size());
            contents.requests.append(*request);
        }
    }
    return contents;
}

QByteArray write(const QList<NotificationRequest> &requests)
{
    QJsonArray array;
    for (const NotificationRequest &request : requests)
        array.append(toJson(request));
    return QJsonDocument(array).toJson();
}

QByteArray journalLine(const NotificationRequest &request)
{
    // Compact JSON escapes every newline, so a request is always one line.
    return QJsonDocument(toJson(request)).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace ReminderFile
