#pragma once

#include "Idea.h"

#include <optional>

// Three-way merge of one idea against the copy both sides last agreed on, field by field.
namespace SyncMerge {

// The marker a conflicting copy's title ends with.
QString copySuffix();

struct Result
{
    Idea merged;              // the local idea with the merge applied (same id and record)
    std::optional<Idea> copy; // the server's version as a new idea, when a title or body changed on both
    bool localChanged = false;  // `merged` differs from the local idea: write it to the store
    bool remoteChanged = false; // `merged` differs from the server's: write it to the server
};

// A field changed on one side takes that side. A status, category, reminder or voice mark
// changed on both takes the later change (by `updatedAt`); a title or body changed on both
// keeps the local text and makes the server's version a new idea, so nothing typed is lost.
// Without a `base` (the two met before either was recorded), every field that differs
// counts as changed on both.
Result merge(const std::optional<Idea> &base, const Idea &local, const Idea &remote);

// Whether two copies of an idea agree on every synced field.
bool sameFields(const Idea &a, const Idea &b);

} // namespace SyncMerge
