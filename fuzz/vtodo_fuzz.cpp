// Feeds arbitrary bytes to the VTODO reader, and what it reads to the writer over the same
// bytes. Beyond the sanitizers, it stops on anything the two promise: a reading is an idea
// or an error; the idea written back over its text reads the same and is then left alone;
// a changed idea written over the text reads back changed; a new task reads as its idea;
// whatever the bytes, writing over them gives a task with a UID.
#include "FuzzInput.h"
#include "VTodo.h"

static bool sameFields(const Idea &a, const Idea &b)
{
    return a.id == b.id && a.title == b.title && a.body == b.body && a.category == b.category && a.status == b.status
        && a.isVoiceNote == b.isVoiceNote && a.createdAt == b.createdAt && a.updatedAt == b.updatedAt;
}

static bool sameReminder(const Idea &a, const Idea &b)
{
    return a.hasReminder == b.hasReminder && a.reminderDate == b.reminderDate;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    const VTodo::Reading reading = VTodo::read(bytes);
    check(reading.idea.has_value() == reading.error.isEmpty());
    if (!reading.idea) {
        // What cannot be read can still be written over, and what comes out holds a task.
        Idea idea = Idea::make(QStringLiteral("ت"), {}, QStringLiteral("مهمة"), false, std::nullopt, false);
        idea.id = QUuid::fromString(QStringLiteral("1b4e28ba-2fa1-11d2-883f-0016d3cca427"));
        check(!VTodo::uid(VTodo::write(idea, bytes)).isEmpty());
        return 0;
    }
    const Idea &idea = *reading.idea;
    check(!VTodo::uid(bytes).isEmpty());

    const QByteArray same = VTodo::write(idea, bytes);
    const VTodo::Reading again = VTodo::read(same);
    check(again.idea && sameFields(*again.idea, idea) && sameReminder(*again.idea, idea));
    check(VTodo::write(*again.idea, same) == same);

    Idea changed = idea;
    changed.title = QStringLiteral("ت") + idea.title;
    changed.body = idea.body.isEmpty() ? QStringLiteral("نص") : QString();
    changed.category = idea.category == QStringLiteral("مهمة") ? QStringLiteral("ملاحظة") : QStringLiteral("مهمة");
    changed.status = idea.status == QStringLiteral("done") ? QStringLiteral("active") : QStringLiteral("done");
    changed.isVoiceNote = !idea.isVoiceNote;
    changed.hasReminder = !idea.hasReminder;
    const QDateTime moment({2030, 1, 2}, {3, 4, 5}, Qt::UTC);
    changed.reminderDate = moment;
    const VTodo::Reading back = VTodo::read(VTodo::write(changed, bytes));
    check(back.idea && sameFields(*back.idea, changed));
    // Other programs' alarms stay, so only ours is sure to be there.
    check(!changed.hasReminder || (back.idea->hasReminder && *back.idea->reminderDate <= moment));

    const VTodo::Reading fresh = VTodo::read(VTodo::write(idea));
    check(fresh.idea && sameFields(*fresh.idea, idea) && sameReminder(*fresh.idea, idea));
    return 0;
}
