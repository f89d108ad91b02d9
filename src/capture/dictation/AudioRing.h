#pragma once

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <memory>
#include <span>

// Samples handed from the audio thread to the recognition thread: one writer, one
// reader, no locks and no allocation after construction. When the reader falls so
// far behind that a block does not fit, the block is dropped rather than waited for.
class AudioRing
{
public:
    explicit AudioRing(std::size_t capacity) : m_capacity(capacity), m_samples(new qint16[capacity]) {}

    // Writer side; false when the block was dropped.
    bool push(std::span<const qint16> block)
    {
        const std::size_t head = m_head.load(std::memory_order_relaxed);
        const std::size_t tail = m_tail.load(std::memory_order_acquire);
        if (block.size() > m_capacity - (head - tail)) {
            m_dropped.fetch_add(block.size(), std::memory_order_relaxed);
            return false;
        }
        for (std::size_t i = 0; i < block.size(); ++i)
            m_samples[(head + i) % m_capacity] = block[i];
        m_head.store(head + block.size(), std::memory_order_release);
        return true;
    }

    // Reader side: moves up to out.size() samples into `out`; how many.
    std::size_t pop(std::span<qint16> out)
    {
        const std::size_t tail = m_tail.load(std::memory_order_relaxed);
        const std::size_t head = m_head.load(std::memory_order_acquire);
        const std::size_t count = std::min(out.size(), head - tail);
        for (std::size_t i = 0; i < count; ++i)
            out[i] = m_samples[(tail + i) % m_capacity];
        m_tail.store(tail + count, std::memory_order_release);
        return count;
    }

    std::size_t dropped() const { return m_dropped.load(std::memory_order_relaxed); }

private:
    const std::size_t m_capacity;
    const std::unique_ptr<qint16[]> m_samples;
    std::atomic<std::size_t> m_head{0};
    std::atomic<std::size_t> m_tail{0};
    std::atomic<std::size_t> m_dropped{0};
};
