#pragma once

#include <QtGlobal>

#include <functional>

// Every random choice of the program: drawn from the system's secure source, without
// the bias a bare modulo would bring.
class SecureRandom
{
public:
    // Yields uniformly distributed 32-bit words.
    using Source = std::function<quint32()>;

    static quint32 systemWord();

    // Uniform in [0, bound), bound > 0, by multiply-and-reject over `source`.
    static quint32 uniform(quint32 bound, const Source &source = systemWord);
};
