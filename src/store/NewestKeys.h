#pragma once

#include <QtGlobal>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

// The `limit` newest of the keys it is shown, (createdAt, rowid) pairs where larger is
// newer, kept in a heap with the oldest on top so each key costs O(log limit).
class NewestKeys
{
public:
    using Key = std::pair<qint64, qint64>;

    explicit NewestKeys(int limit) : m_limit(size_t(std::max(limit, 0))) { m_keys.reserve(m_limit + 1); }

    void keep(const Key &key)
    {
        if (full() && !(m_keys.front() < key))
            return;
        m_keys.push_back(key);
        std::push_heap(m_keys.begin(), m_keys.end(), std::greater<Key>());
        if (m_keys.size() > m_limit) {
            std::pop_heap(m_keys.begin(), m_keys.end(), std::greater<Key>());
            m_keys.pop_back();
        }
    }
    bool full() const { return m_keys.size() == m_limit; }
    // The oldest kept; only when there is one.
    const Key &oldest() const { return m_keys.front(); }
    // Newest first; the keeper is spent.
    std::vector<Key> takeNewestFirst()
    {
        std::sort(m_keys.begin(), m_keys.end(), std::greater<Key>());
        return std::move(m_keys);
    }

private:
    size_t m_limit;
    std::vector<Key> m_keys;
};
