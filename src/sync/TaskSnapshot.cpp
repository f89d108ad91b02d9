#include "TaskSnapshot.h"

#include "AppClock.h"
#include "IcalTimes.h"
#include "IcalTree.h"
#include "Libical.h"
#include "TaskWords.h"

namespace {

// Name-based ids for UIDs that are not UUIDs are derived in this namespace. Fixed for
// good: changing it would give every such task another id on the next sync.
constexpr QUuid uidNamespace(0xeca41cba, 0x0075, 0x4e19, 0xaf, 0xfe, 0x3c, 0xbc, 0x84, 0x79, 0x36, 0x73);

QString textOf(const char *text)
{
    return text ? QString::fromUtf8(text) : QString();
}

// A UID must never change, but libical prints some back otherwise than it read them: it
// drops a CR, and trims the space an escape at the end left.
bool survivesPrinting(const char *uid)
{
    const QByteArray line = Libical::propertyText(icalproperty_new_uid(uid));
    icalcomponent *todo = icalparser_parse_string(("BEGIN:VTODO\r\n" + line + "END:VTODO\r\n").constData());
    if (!todo)
        return false;
    icalproperty *back = icalcomponent_get_first_property(todo, ICAL_UID_PROPERTY);
    const bool same = back && qstrcmp(icalproperty_get_uid(back), uid) == 0;
    Libical::freeTree(todo);
    return same;
}

QUuid idForUid(const QString &uid)
{
    // A UUID in its usual 36-character form, braces allowed; anything else is a name.
    const QString bare = uid.startsWith(u'{') && uid.endsWith(u'}') ? uid.mid(1, uid.size() - 2) : uid;
    if (bare.size() == 36) {
        const QUuid id = QUuid::fromString(bare);
        if (!id.isNull())
            return id;
    }
    return QUuid::createUuidV5(uidNamespace, uid);
}

} // namespace

QString TaskSnapshot::uidOf(icalcomponent *todo)
{
    icalproperty *p = icalcomponent_get_first_property(todo, ICAL_UID_PROPERTY);
    return p ? textOf(icalproperty_get_uid(p)) : QString();
}

std::optional<TaskSnapshot> TaskSnapshot::of(const IcalTree &tree, const QTimeZone &zone, bool strict,
                                             QString *error)
{
    icalcomponent *todo = tree.todo;
    const auto first = [todo](icalproperty_kind kind) { return icalcomponent_get_first_property(todo, kind); };
    TaskSnapshot s;
    Idea &idea = s.idea;
    IcalTimes times(tree.calendar, zone);
    QString badProperty;
    const auto noteInvalid = [&badProperty](bool invalid, const QString &name) {
        if (invalid && badProperty.isEmpty())
            badProperty = name;
    };
    const auto instant = [&](icalproperty *property, const char *name) {
        bool invalid = false;
        std::optional<QDateTime> moment = times.instant(property, &invalid);
        noteInvalid(invalid, QString::fromLatin1(name));
        return moment;
    };

    const QString uidText = uidOf(todo);
    s.hasUid = !uidText.isEmpty();
    if (s.hasUid) {
        idea.id = idForUid(uidText);
    } else if (strict) {
        *error = QStringLiteral("VTODO has no UID");
        return std::nullopt;
    }
    if (strict && s.hasUid && !survivesPrinting(icalproperty_get_uid(first(ICAL_UID_PROPERTY)))) {
        *error = QStringLiteral("VTODO has a UID libical cannot write back");
        return std::nullopt;
    }

    icalproperty *summary = first(ICAL_SUMMARY_PROPERTY);
    const QString title = summary ? textOf(icalproperty_get_summary(summary)) : QString();
    idea.title = Idea::trimmedTitle(TaskWords::storable(title));
    icalproperty *description = first(ICAL_DESCRIPTION_PROPERTY);
    idea.body = TaskWords::storable(description ? textOf(icalproperty_get_description(description)) : QString());

    idea.category = TaskWords::defaultCategory();
    const QStringList ours = TaskWords::categories();
    for (icalproperty *p : Libical::properties(todo, ICAL_CATEGORIES_PROPERTY)) {
        const QString word = textOf(icalproperty_get_categories(p)).trimmed();
        if (ours.contains(word)) {
            idea.category = word;
            break;
        }
    }

    icalproperty *status = first(ICAL_STATUS_PROPERTY);
    const icalproperty_status statusValue = status ? icalproperty_get_status(status) : ICAL_STATUS_NONE;
    icalproperty *completed = first(ICAL_COMPLETED_PROPERTY);
    const bool done = statusValue == ICAL_STATUS_COMPLETED || statusValue == ICAL_STATUS_CANCELLED || completed;
    idea.status = done ? TaskWords::doneStatus() : TaskWords::activeStatus();
    instant(completed, "COMPLETED"); // only checked

    idea.isVoiceNote = false;
    for (icalproperty *p : Libical::properties(todo, ICAL_X_PROPERTY)) {
        const char *name = icalproperty_get_x_name(p);
        if (name && qstricmp(name, TaskWords::voiceName) == 0
            && QByteArray(icalproperty_get_x(p)).trimmed().compare("TRUE", Qt::CaseInsensitive) == 0)
            idea.isVoiceNote = true;
    }

    const std::optional<QDateTime> created = instant(first(ICAL_CREATED_PROPERTY), "CREATED");
    const std::optional<QDateTime> modified = instant(first(ICAL_LASTMODIFIED_PROPERTY), "LAST-MODIFIED");
    const std::optional<QDateTime> stamp = instant(first(ICAL_DTSTAMP_PROPERTY), "DTSTAMP");
    const QDateTime now = QDateTime::fromSecsSinceEpoch(AppClock::now().toSecsSinceEpoch(), Qt::UTC);
    s.dated = created || modified || stamp;
    idea.createdAt = created ? *created : stamp ? *stamp : modified ? *modified : now;
    idea.updatedAt = modified ? *modified : stamp ? *stamp : created ? *created : idea.createdAt;

    s.due = instant(first(ICAL_DUE_PROPERTY), "DUE");
    icalproperty *startProperty = first(ICAL_DTSTART_PROPERTY);
    s.start = instant(startProperty, "DTSTART");
    s.startIsDate = s.start && icalproperty_get_dtstart(startProperty).is_date;

    std::optional<QDateTime> earliest;
    for (icalcomponent *alarm : Libical::components(todo, ICAL_VALARM_COMPONENT)) {
        icalproperty *trigger = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
        if (!trigger)
            continue;
        const icaltriggertype t = icalproperty_get_trigger(trigger);
        std::optional<QDateTime> moment;
        bool invalid = false;
        if (!icaltime_is_null_time(t.time)) {
            moment = times.instant(trigger, t.time, &invalid);
            if (moment && s.due && !s.ownAlarm && IcalTimes::sameSecond(moment, s.due))
                s.ownAlarm = alarm;
        } else {
            icalparameter *related = icalproperty_get_first_parameter(trigger, ICAL_RELATED_PARAMETER);
            const bool fromEnd = related && icalparameter_get_related(related) == ICAL_RELATED_END;
            moment = IcalTimes::shifted(fromEnd ? s.due : s.start, t.duration, &invalid);
        }
        noteInvalid(invalid, QStringLiteral("TRIGGER"));
        if (moment && (!earliest || *moment < *earliest))
            earliest = moment;
    }
    const std::optional<QDateTime> reminder = earliest ? earliest : s.due;
    idea.hasReminder = reminder.has_value();
    idea.reminderDate = reminder;

    if (strict && !badProperty.isEmpty()) {
        *error = QStringLiteral("invalid date in %1").arg(badProperty);
        return std::nullopt;
    }
    return s;
}
