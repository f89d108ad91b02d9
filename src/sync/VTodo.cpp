#include "VTodo.h"

#include "AppClock.h"
#include "CategoriesLine.h"
#include "IcalTimes.h"
#include "IcalTree.h"
#include "IcsText.h"
#include "Libical.h"
#include "TaskSnapshot.h"
#include "TaskWords.h"

#include <algorithm>
#include <utility>

// Reading goes through libical. Writing edits the previous text itself, line by line:
// libical is asked what the task says and for the text of every line Fikranest writes, but
// every line it does not rewrite leaves exactly as it came. Printing the whole tree back
// through libical 3.0 would lose what its parser drops or mangles: unknown components and
// IANA properties vanish, a value it cannot parse becomes an X-LIC-ERROR line, and escaped
// commas lose their backslash in X- values and CATEGORIES. Only when the text's own shape
// does not match what libical read (components out of order, several VCALENDARs, a bare
// VTODO, junk between components) is the task printed once through libical and edited
// from there.

namespace {

constexpr char prodId[] = "-//Fikranest//Fikranest//AR";

QByteArray inCalendar(const QByteArray &components)
{
    return QByteArray("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:") + prodId + "\r\n" + components
        + "END:VCALENDAR\r\n";
}

QByteArray textProperty(icalproperty *(*make)(const char *), const QString &text)
{
    return Libical::propertyText(make(text.toUtf8().constData()));
}

QByteArray timeProperty(icalproperty *(*make)(icaltimetype), const QDateTime &t)
{
    return Libical::propertyText(make(IcalTimes::utcTime(t)));
}

// A DISPLAY alarm must carry a DESCRIPTION, and libical cannot read an empty one.
QString alarmDescription(const QString &title)
{
    const QString text = TaskWords::storable(title);
    return text.trimmed().isEmpty() ? QStringLiteral("تذكير") : text;
}

QByteArray alarmText(const QString &title, const QDateTime &when)
{
    icalcomponent *alarm = icalcomponent_new_valarm();
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    icalcomponent_add_property(alarm, icalproperty_new_description(alarmDescription(title).toUtf8().constData()));
    icaltriggertype trigger;
    trigger.time = IcalTimes::utcTime(when);
    trigger.duration = icaldurationtype_null_duration();
    icalproperty *p = icalproperty_new_trigger(trigger);
    icalproperty_add_parameter(p, icalparameter_new_value(ICAL_VALUE_DATETIME));
    icalcomponent_add_property(alarm, p);
    const QByteArray text = Libical::componentText(alarm);
    Libical::freeTree(alarm);
    return text;
}

QByteArray voiceProperty()
{
    icalproperty *p = icalproperty_new_x("TRUE");
    icalproperty_set_x_name(p, TaskWords::voiceName);
    return Libical::propertyText(p);
}

// The idea's fields as they would read back from the task.
struct Wanted
{
    QString title, body, category, status;
    std::optional<QDateTime> reminder;
    bool voice = false;
    QDateTime createdAt, updatedAt;
};

Wanted wantedOf(const Idea &idea)
{
    Wanted w;
    w.title = TaskWords::storable(idea.title);
    w.body = TaskWords::storable(idea.body);
    // A word that is not ours reads back as the default, so it is written as that.
    w.category = TaskWords::categories().contains(idea.category) ? idea.category : TaskWords::defaultCategory();
    w.status = idea.status == TaskWords::doneStatus() ? TaskWords::doneStatus() : TaskWords::activeStatus();
    if (idea.hasReminder && idea.reminderDate && IcalTimes::isWritable(*idea.reminderDate))
        w.reminder = QDateTime::fromSecsSinceEpoch(idea.reminderDate->toSecsSinceEpoch(), Qt::UTC);
    w.voice = idea.isVoiceNote;
    const QDateTime now = AppClock::now();
    w.createdAt = IcalTimes::isWritable(idea.createdAt) ? idea.createdAt : now;
    w.updatedAt = IcalTimes::isWritable(idea.updatedAt) ? idea.updatedAt : now;
    return w;
}

// Only our three words go, wherever they are; other categories stay.
void dropOurCategories(IcsText &edit, int todo)
{
    const QStringList ours = TaskWords::categories();
    for (int line : edit.linesNamed(todo, "CATEGORIES")) {
        std::optional<CategoriesLine> categories = CategoriesLine::parse(edit.line(line).unfolded);
        if (!categories)
            continue;
        const qsizetype count = categories->values.size();
        categories->values.removeIf([&ours](const QString &v) { return ours.contains(v.trimmed()); });
        if (categories->values.size() == count)
            continue;
        if (categories->values.isEmpty())
            edit.remove(line);
        else
            edit.replace(line, categories->text());
    }
}

// The idea written over `text`; empty when the text holds no task to write over, or (in
// the second pass) its shape still does not match what libical read.
std::optional<QByteArray> writeOver(const Idea &idea, const QByteArray &text, bool fresh, bool normalised)
{
    IcalTree tree(text);
    if (!tree.todo)
        return std::nullopt;
    QString ignored;
    const std::optional<TaskSnapshot> before = TaskSnapshot::of(tree, AppClock::timeZone(), false, &ignored);
    if (!before)
        return std::nullopt;
    const Idea &was = before->idea;
    const Wanted w = wantedOf(idea);

    const bool title = fresh || Idea::trimmedTitle(w.title) != was.title;
    const bool body = fresh || w.body != was.body;
    const bool category = fresh || w.category != was.category;
    const bool status = fresh || w.status != was.status;
    const std::optional<QDateTime> wasReminder = was.hasReminder ? was.reminderDate : std::nullopt;
    const bool reminder = fresh || !IcalTimes::sameSecond(w.reminder, wasReminder);
    const bool voice = fresh || w.voice != was.isVoiceNote;
    const bool created = fresh || !before->dated || !IcalTimes::sameSecond(w.createdAt, was.createdAt);
    const bool updated = fresh || !before->dated || !IcalTimes::sameSecond(w.updatedAt, was.updatedAt);
    if (before->hasUid && !title && !body && !category && !status && !reminder && !voice && !created && !updated)
        return text;

    IcsText edit(text);
    if (!edit.isClean() || tree.root != tree.calendar || !edit.matches(tree.calendar)) {
        if (normalised || fresh)
            return std::nullopt;
        // Printed once through libical, without the X-LIC-ERROR lines its parser added.
        icalcomponent *holder = tree.calendar ? tree.calendar : tree.todo;
        icalcomponent_strip_errors(holder);
        const QByteArray printed = Libical::componentText(holder);
        return writeOver(idea, tree.calendar ? printed : inCalendar(printed), false, true);
    }
    const int todo = edit.blockOf(0, tree.calendar, tree.todo);
    if (todo < 0)
        return std::nullopt;
    const int ownAlarm = before->ownAlarm ? edit.blockOf(todo, tree.todo, before->ownAlarm) : -1;
    // A text property that reads as empty is left out.
    const auto setText = [&edit, todo](const char *name, icalproperty *(*make)(const char *), const QString &text) {
        if (text.isEmpty())
            edit.removeAll(todo, name);
        else
            edit.set(todo, name, textProperty(make, text));
    };

    if (!before->hasUid)
        edit.set(todo, "UID", textProperty(icalproperty_new_uid, idea.idText()));
    if (updated)
        edit.set(todo, "DTSTAMP", timeProperty(icalproperty_new_dtstamp, w.updatedAt));
    if (created)
        edit.set(todo, "CREATED", timeProperty(icalproperty_new_created, w.createdAt));
    if (updated)
        edit.set(todo, "LAST-MODIFIED", timeProperty(icalproperty_new_lastmodified, w.updatedAt));
    if (title)
        setText("SUMMARY", icalproperty_new_summary, w.title);
    if (body)
        setText("DESCRIPTION", icalproperty_new_description, w.body);
    if (category) {
        dropOurCategories(edit, todo);
        edit.insertProperty(todo, textProperty(icalproperty_new_categories, w.category));
    }
    if (status) {
        if (w.status == TaskWords::doneStatus()) {
            edit.set(todo, "STATUS", Libical::propertyText(icalproperty_new_status(ICAL_STATUS_COMPLETED)));
            edit.set(todo, "COMPLETED", timeProperty(icalproperty_new_completed, w.updatedAt));
            edit.set(todo, "PERCENT-COMPLETE", Libical::propertyText(icalproperty_new_percentcomplete(100)));
        } else {
            edit.set(todo, "STATUS", Libical::propertyText(icalproperty_new_status(ICAL_STATUS_NEEDSACTION)));
            edit.removeAll(todo, "COMPLETED");
            edit.removeAll(todo, "PERCENT-COMPLETE");
        }
    }
    if (reminder) {
        if (w.reminder) {
            edit.set(todo, "DUE", timeProperty(icalproperty_new_due, *w.reminder));
            edit.removeAll(todo, "DURATION"); // RFC 5545: never both DUE and DURATION
            // Nor a DUE before DTSTART, or of another value type: servers refuse both (sabre/dav
            // with "Validation error"), so such a start moves, to the due time at the latest.
            if (before->start && (before->startIsDate || *before->start > *w.reminder)) {
                const QDateTime start = std::min(*before->start, *w.reminder);
                edit.set(todo, "DTSTART", timeProperty(icalproperty_new_dtstart, start));
            }
        } else {
            edit.removeAll(todo, "DUE");
        }
    }
    if (voice) {
        if (w.voice)
            edit.set(todo, TaskWords::voiceName, voiceProperty());
        else
            edit.removeAll(todo, TaskWords::voiceName);
    }
    if (reminder) {
        // Fikranest's own alarm is replaced; other alarms stay as they are.
        if (ownAlarm >= 0)
            edit.removeBlock(ownAlarm);
        if (w.reminder)
            edit.insertComponent(todo, alarmText(w.title, *w.reminder));
    } else if (title && ownAlarm >= 0) {
        edit.set(ownAlarm, "DESCRIPTION", textProperty(icalproperty_new_description, alarmDescription(w.title)));
    }
    return edit.changed() ? edit.result() : text;
}

} // namespace

namespace VTodo {

Reading read(const QByteArray &ics, const QTimeZone &zone)
{
    Reading reading;
    const IcalTree tree(ics);
    if (!tree.todo) {
        reading.error = tree.error;
        return reading;
    }
    std::optional<TaskSnapshot> s = TaskSnapshot::of(tree, zone, true, &reading.error);
    if (s)
        reading.idea = std::move(s->idea);
    return reading;
}

QByteArray write(const Idea &idea, const QByteArray &previous)
{
    Libical::prepare();
    if (!previous.isEmpty()) {
        if (std::optional<QByteArray> written = writeOver(idea, previous, false, false))
            return *written;
    }
    const QByteArray skeleton = inCalendar("BEGIN:VTODO\r\n" + textProperty(icalproperty_new_uid, idea.idText())
                                           + "END:VTODO\r\n");
    if (std::optional<QByteArray> written = writeOver(idea, skeleton, true, false))
        return *written;
    return {};
}

QString uid(const QByteArray &ics)
{
    const IcalTree tree(ics);
    return tree.todo ? TaskSnapshot::uidOf(tree.todo) : QString();
}

} // namespace VTodo
