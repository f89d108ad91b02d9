#include "SyncMerge.h"

namespace {

// Servers keep whole seconds, so a time that went there and back must still compare equal.
bool sameSecond(const QDateTime &a, const QDateTime &b)
{
    if (!a.isValid() || !b.isValid())
        return a.isValid() == b.isValid();
    return a.toSecsSinceEpoch() == b.toSecsSinceEpoch();
}

// What happens when both sides changed a field to different values.
enum class OnBoth {
    later,    // the side changed last wins: a state, not something typed
    keepText, // local stays, the server's text survives in a copy
};

struct Field
{
    bool (*same)(const Idea &, const Idea &);
    void (*take)(Idea &to, const Idea &from);
    OnBoth onBoth;
};

const Field fields[] = {
    {[](const Idea &a, const Idea &b) { return a.title == b.title; },
     [](Idea &to, const Idea &from) { to.title = from.title; }, OnBoth::keepText},
    {[](const Idea &a, const Idea &b) { return a.body == b.body; },
     [](Idea &to, const Idea &from) { to.body = from.body; }, OnBoth::keepText},
    {[](const Idea &a, const Idea &b) { return a.category == b.category; },
     [](Idea &to, const Idea &from) { to.category = from.category; }, OnBoth::later},
    {[](const Idea &a, const Idea &b) { return a.status == b.status; },
     [](Idea &to, const Idea &from) { to.status = from.status; }, OnBoth::later},
    // The mark and the date are one choice the person made, so they travel together.
    {[](const Idea &a, const Idea &b) {
         return a.hasReminder == b.hasReminder
             && sameSecond(a.reminderDate.value_or(QDateTime()), b.reminderDate.value_or(QDateTime()));
     },
     [](Idea &to, const Idea &from) {
         to.hasReminder = from.hasReminder;
         to.reminderDate = from.reminderDate;
     },
     OnBoth::later},
    {[](const Idea &a, const Idea &b) { return a.isVoiceNote == b.isVoiceNote; },
     [](Idea &to, const Idea &from) { to.isVoiceNote = from.isVoiceNote; }, OnBoth::later},
};

} // namespace

QString SyncMerge::copySuffix()
{
    return QStringLiteral(" ⚠️ (نسخة من جهاز ثاني)");
}

bool SyncMerge::sameFields(const Idea &a, const Idea &b)
{
    for (const Field &field : fields) {
        if (!field.same(a, b))
            return false;
    }
    return sameSecond(a.createdAt, b.createdAt) && sameSecond(a.updatedAt, b.updatedAt);
}

SyncMerge::Result SyncMerge::merge(const std::optional<Idea> &base, const Idea &local, const Idea &remote)
{
    Result result{local, std::nullopt};
    // At the server's precision, so a local edit in the same second as the server's wins.
    const bool remoteLater = remote.updatedAt.toSecsSinceEpoch() > local.updatedAt.toSecsSinceEpoch();
    bool fromServer = false;
    bool textConflict = false;
    for (const Field &field : fields) {
        if (field.same(local, remote))
            continue;
        const bool localChanged = !base || !field.same(*base, local);
        const bool remoteChanged = !base || !field.same(*base, remote);
        if (!remoteChanged)
            continue;
        if (localChanged && field.onBoth == OnBoth::keepText) {
            textConflict = true;
            continue;
        }
        if (localChanged && !remoteLater)
            continue;
        field.take(result.merged, remote);
        fromServer = true;
    }
    if (fromServer && remoteLater)
        result.merged.updatedAt = remote.updatedAt;
    if (textConflict) {
        Idea copy = Idea::make(remote.title + copySuffix(), remote.body, remote.category, remote.hasReminder,
                               remote.reminderDate, remote.isVoiceNote, remote.updatedAt);
        copy.status = remote.status;
        result.copy = copy;
    }
    result.localChanged = !sameFields(result.merged, local);
    result.remoteChanged = !sameFields(result.merged, remote);
    return result;
}
