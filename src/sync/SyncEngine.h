#pragma once

#include "CalDavClient.h"
#include "Idea.h"

#include <QList>
#include <QUrl>

class SyncLedger;

// A change sync makes to the ideas on this machine.
struct SyncChange
{
    enum class Kind { add, edit, remove };
    Kind kind;
    Idea idea;
};

// One pass of mirroring the ideas store with one task list: what changed on the server
// comes in, what changed here goes out, and where both changed the two are merged against
// the copy both last agreed on. It runs on the sync thread; the ideas themselves are read
// and written through a `Target`, which hands the writes to whoever owns the store.
//
// Every step can be cut short by a crash and run again: a resource is named after its
// idea, so a new one written twice is refused the second time and merged instead; the
// ledger records a resource only after the store holds what it describes; the token moves
// on only when the whole pass is done.
class SyncEngine
{
public:
    class Target
    {
    public:
        virtual ~Target() = default;
        // Every idea as the store holds it now.
        virtual QList<Idea> ideas() = 0;
        // Applies the changes in order; false when the store refused any of them, in
        // which case the pass stops and is tried again later.
        virtual bool apply(const QList<SyncChange> &changes) = 0;
    };

    struct Report
    {
        CalDavClient::Error error;
        bool ledgerFailed = false; // the ledger or the store could not be written
        int received = 0;          // ideas added, changed or removed here
        int sent = 0;              // tasks written or removed on the server
        int unreadable = 0;        // tasks on the server that could not be read, left alone
        bool ok() const { return !error && !ledgerFailed; }
    };

    SyncEngine(CalDavClient &client, SyncLedger &ledger, Target &target, int batchSize = 50);

    Report run(const QUrl &list);

private:
    struct Pass;

    CalDavClient &m_client;
    SyncLedger &m_ledger;
    Target &m_target;
    int m_batchSize;
};
