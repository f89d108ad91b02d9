#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

// Stops the run, so libFuzzer keeps the input, when a promise of the code under test breaks.
inline void check(bool holds)
{
    if (!holds)
        __builtin_trap();
}

// The fuzzer's bytes, not copied.
inline QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
}
