#include "SyncEngine.h"

#include "SyncLedger.h"
#include "SyncMerge.h"
#include "VTodo.h"

#include <QHash>
#include <QSet>

namespace {

using Failure = CalDavClient::Failure;

// Servers write a path's characters either way; one key for both.
QString pathKey(const QUrl &url)
{
    return url.path(QUrl::FullyDecoded);
}

std::optional<Idea> readIdea(const QByteArray &ics)
{
    return ics.isEmpty() ? std::nullopt : VTodo::read(ics).idea;
}

// How many times a write refused for a stale ETag is merged and tried again before the
// pass gives up on that idea until the next one.
constexpr int writeAttempts = 3;

} // namespace

struct SyncEngine::Pass
{
    SyncEngine &engine;
    QUrl list;
    Report report;

    QHash<QUuid, SyncLedger::Entry> entries;
    QHash<QString, QUuid> idByPath;
    QHash<QUuid, Idea> locals;
    QSet<QUuid> handled;

    // Store changes waiting to be applied, and the ledger records that describe the store
    // once they are: a record is never written before what it records.
    QList<SyncChange> changes;
    QList<SyncLedger::Entry> records;
    QList<QUuid> forgets;
    // Ideas to write to the server once the store holds them.
    struct Push
    {
        Idea idea;
        QUrl url;
        QByteArray etag;     // empty: a new resource
        QByteArray previous; // the server's text it is written over
    };
    QList<Push> pushes;

    bool fail(const CalDavClient::Error &error)
    {
        report.error = error;
        return false;
    }

    bool ledgerFailed()
    {
        report.ledgerFailed = true;
        return false;
    }

    QUrl newResource(const Idea &idea) const { return list.resolved(QUrl(idea.idText() + QStringLiteral(".ics"))); }

    void record(const QUuid &id, const QUrl &url, const QByteArray &etag, const QByteArray &ics)
    {
        const SyncLedger::Entry entry{id, url.toString(QUrl::FullyEncoded), etag, ics};
        entries.insert(id, entry);
        idByPath.insert(pathKey(url), id);
        records << entry;
    }

    void forget(const QUuid &id)
    {
        const auto entry = entries.find(id);
        if (entry != entries.end()) {
            idByPath.remove(pathKey(QUrl(entry->href)));
            entries.erase(entry);
        }
        forgets << id;
    }

    void change(SyncChange::Kind kind, const Idea &idea)
    {
        changes << SyncChange{kind, idea};
        if (kind == SyncChange::Kind::remove)
            locals.remove(idea.id);
        else
            locals.insert(idea.id, idea);
        ++report.received;
    }

    // Applies what is waiting, then writes the ledger records that describe it.
    bool flush()
    {
        if (!changes.isEmpty() && !engine.m_target.apply(changes))
            return ledgerFailed();
        changes.clear();
        const bool written = engine.m_ledger.transaction([&] {
            for (const SyncLedger::Entry &entry : std::as_const(records)) {
                if (!engine.m_ledger.put(entry))
                    return false;
            }
            for (const QUuid &id : std::as_const(forgets)) {
                if (!engine.m_ledger.remove(id))
                    return false;
            }
            return true;
        });
        records.clear();
        forgets.clear();
        return written || ledgerFailed();
    }

    bool flushWhenFull()
    {
        return changes.size() < engine.m_batchSize || flush();
    }

    bool load()
    {
        entries = engine.m_ledger.entries();
        for (const SyncLedger::Entry &entry : std::as_const(entries))
            idByPath.insert(pathKey(QUrl(entry.href)), entry.id);
        for (const Idea &idea : engine.m_target.ideas())
            locals.insert(idea.id, idea);
        return true;
    }

    // What changed on the server since the stored token, or, where the server keeps no
    // tokens, since the ETags the ledger holds.
    bool serverChanges(QList<CalDavClient::Resource> &changed, QList<QUrl> &removed, QByteArray &token)
    {
        CalDavClient::Changes found;
        QByteArray from = engine.m_ledger.syncToken();
        CalDavClient::Error error = engine.m_client.syncCollection(list, from, found);
        if (error.failure == Failure::invalidToken)
            error = engine.m_client.syncCollection(list, from = {}, found);
        if (!error) {
            token = found.token;
            removed = found.removed;
            for (const CalDavClient::Resource &resource : std::as_const(found.changed)) {
                const auto id = idByPath.constFind(pathKey(resource.url));
                if (id == idByPath.constEnd() || resource.etag.isEmpty() || entries.value(*id).etag != resource.etag)
                    changed << resource;
            }
            // A first listing names everything there is: what the ledger knows beyond it is gone.
            if (from.isEmpty())
                removed += missingFrom(found.changed);
            return true;
        }
        if (error.failure != Failure::unsupported)
            return fail(error);
        QList<CalDavClient::Resource> all;
        if (const auto listed = engine.m_client.etags(list, all))
            return fail(listed);
        for (const CalDavClient::Resource &resource : std::as_const(all)) {
            const auto id = idByPath.constFind(pathKey(resource.url));
            if (id == idByPath.constEnd() || entries.value(*id).etag != resource.etag)
                changed << resource;
        }
        removed = missingFrom(all);
        return true;
    }

    QList<QUrl> missingFrom(const QList<CalDavClient::Resource> &present) const
    {
        QSet<QString> paths;
        for (const CalDavClient::Resource &resource : present)
            paths.insert(pathKey(resource.url));
        QList<QUrl> missing;
        for (const SyncLedger::Entry &entry : entries) {
            if (!paths.contains(pathKey(QUrl(entry.href))))
                missing << QUrl(entry.href);
        }
        return missing;
    }

    // One task from the server, against the idea here and the copy both last agreed on.
    void receive(const CalDavClient::Resource &resource)
    {
        const VTodo::Reading reading = VTodo::read(resource.ics);
        if (!reading.idea) {
            ++report.unreadable;
            return;
        }
        const Idea &remote = *reading.idea;
        const auto knownId = idByPath.constFind(pathKey(resource.url));
        const QUuid id = knownId != idByPath.constEnd() ? *knownId : remote.id;
        handled.insert(id);
        const std::optional<SyncLedger::Entry> entry = entries.contains(id) ? std::optional(entries.value(id))
                                                                           : std::nullopt;
        const auto local = locals.constFind(id);
        if (local == locals.constEnd()) {
            // New here, or deleted here and changed there since: a change beats a delete.
            Idea arriving = remote;
            arriving.id = id;
            change(SyncChange::Kind::add, arriving);
            record(id, resource.url, resource.etag, resource.ics);
            return;
        }
        merge(entry ? readIdea(entry->synced) : std::nullopt, *local, remote, resource);
    }

    void merge(const std::optional<Idea> &base, const Idea &local, Idea remote, const CalDavClient::Resource &resource)
    {
        remote.id = local.id;
        const SyncMerge::Result merged = SyncMerge::merge(base, local, remote);
        if (merged.localChanged)
            change(SyncChange::Kind::edit, merged.merged);
        if (merged.copy)
            change(SyncChange::Kind::add, *merged.copy); // sent as a new idea below
        if (merged.remoteChanged)
            pushes << Push{merged.merged, resource.url, resource.etag, resource.ics};
        else
            record(local.id, resource.url, resource.etag, resource.ics);
    }

    // A task gone from the server: gone here too, unless it changed here since.
    void removedThere(const QUrl &url)
    {
        const auto id = idByPath.constFind(pathKey(url));
        if (id == idByPath.constEnd() || handled.contains(*id))
            return;
        const QUuid ideaId = *id;
        handled.insert(ideaId);
        const SyncLedger::Entry entry = entries.value(ideaId);
        forget(ideaId);
        const auto local = locals.constFind(ideaId);
        if (local == locals.constEnd())
            return;
        const std::optional<Idea> base = readIdea(entry.synced);
        if (base && SyncMerge::sameFields(*base, *local))
            change(SyncChange::Kind::remove, *local);
        else
            pushes << Push{*local, newResource(*local), {}, {}};
    }

    // Writes one idea, merging with the server's copy when it changed there meanwhile.
    bool send(Push push)
    {
        for (int attempt = 0; attempt < writeAttempts; ++attempt) {
            const QByteArray ics = VTodo::write(push.idea, push.previous);
            QByteArray etag;
            const CalDavClient::Error error = engine.m_client.put(push.url, ics, push.etag, etag);
            if (!error) {
                ++report.sent;
                record(push.idea.id, push.url, etag, ics);
                return flush();
            }
            if (error.failure == Failure::gone && !push.etag.isEmpty()) {
                // Removed there while it changed here: it comes back, under its own name.
                push = Push{push.idea, newResource(push.idea), {}, {}};
                continue;
            }
            if (error.failure != Failure::precondition)
                return fail(error);
            CalDavClient::Resource current;
            if (const auto fetched = engine.m_client.get(push.url, current))
                return fail(fetched);
            const VTodo::Reading reading = VTodo::read(current.ics);
            if (!reading.idea) {
                ++report.unreadable;
                return true;
            }
            const std::optional<SyncLedger::Entry> entry = entries.contains(push.idea.id)
                ? std::optional(entries.value(push.idea.id)) : std::nullopt;
            Idea remote = *reading.idea;
            remote.id = push.idea.id;
            const SyncMerge::Result merged = SyncMerge::merge(entry ? readIdea(entry->synced) : std::nullopt,
                                                              push.idea, remote);
            if (merged.localChanged)
                change(SyncChange::Kind::edit, merged.merged);
            if (merged.copy) {
                change(SyncChange::Kind::add, *merged.copy);
                pushes << Push{*merged.copy, newResource(*merged.copy), {}, {}};
            }
            if (!merged.remoteChanged) {
                record(push.idea.id, push.url, current.etag, current.ics);
                return flush();
            }
            if (!flush())
                return false;
            push = Push{merged.merged, push.url, current.etag, current.ics};
        }
        return true;
    }

    // An idea deleted here: deleted there, unless it changed there meanwhile.
    bool sendRemoval(const SyncLedger::Entry &entry)
    {
        const CalDavClient::Error error = engine.m_client.remove(QUrl(entry.href), entry.etag);
        if (!error || error.failure == Failure::gone) {
            if (!error)
                ++report.sent;
            forget(entry.id);
            return flush();
        }
        if (error.failure != Failure::precondition)
            return fail(error);
        CalDavClient::Resource current;
        if (const auto fetched = engine.m_client.get(QUrl(entry.href), current)) {
            if (fetched.failure != Failure::gone)
                return fail(fetched);
            forget(entry.id);
            return flush();
        }
        current.url = QUrl(entry.href);
        receive(current);
        return flush();
    }

    bool run()
    {
        QList<CalDavClient::Resource> changed;
        QList<QUrl> removed;
        QByteArray token;
        if (!load() || !serverChanges(changed, removed, token))
            return false;

        QList<QUrl> wanted;
        for (const CalDavClient::Resource &resource : std::as_const(changed))
            wanted << resource.url;
        QList<CalDavClient::Resource> texts;
        if (!wanted.isEmpty()) {
            if (const auto fetched = engine.m_client.multiget(list, wanted, texts))
                return fail(fetched);
        }
        for (const CalDavClient::Resource &resource : std::as_const(texts)) {
            receive(resource);
            if (!flushWhenFull())
                return false;
        }
        for (const QUrl &url : std::as_const(removed)) {
            removedThere(url);
            if (!flushWhenFull())
                return false;
        }
        if (!flush())
            return false;

        // What changed here: new ideas, edited ones, and deleted ones.
        for (const Idea &local : std::as_const(locals)) {
            if (handled.contains(local.id))
                continue;
            const auto entry = entries.constFind(local.id);
            if (entry == entries.constEnd()) {
                pushes << Push{local, newResource(local), {}, {}};
                continue;
            }
            const std::optional<Idea> base = readIdea(entry->synced);
            if (!base || !SyncMerge::sameFields(*base, local))
                pushes << Push{local, QUrl(entry->href), entry->etag, entry->synced};
        }
        // A push may add more (a conflict's copy), so the list is read as it grows.
        for (qsizetype i = 0; i < pushes.size(); ++i) {
            if (!send(pushes.at(i)))
                return false;
        }
        const QList<SyncLedger::Entry> known = entries.values();
        for (const SyncLedger::Entry &entry : known) {
            if (!locals.contains(entry.id) && !handled.contains(entry.id) && !sendRemoval(entry))
                return false;
        }
        if (!flush())
            return false;
        return token.isEmpty() || engine.m_ledger.setSyncToken(token) || ledgerFailed();
    }
};

SyncEngine::SyncEngine(CalDavClient &client, SyncLedger &ledger, Target &target, int batchSize)
    : m_client(client), m_ledger(ledger), m_target(target), m_batchSize(batchSize)
{
}

SyncEngine::Report SyncEngine::run(const QUrl &list)
{
    Pass pass{*this, list, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    pass.run();
    return pass.report;
}
