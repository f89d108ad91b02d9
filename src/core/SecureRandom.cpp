#include "SecureRandom.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdlib>

quint32 SecureRandom::systemWord()
{
    quint32 word = 0;
    auto *bytes = reinterpret_cast<char *>(&word);
    size_t filled = 0;
    while (filled < sizeof word) {
        const ssize_t got = getrandom(bytes + filled, sizeof word - filled, 0);
        if (got > 0)
            filled += size_t(got);
        else if (errno != EINTR)
            std::abort(); // the kernel's source does not fail once booted
    }
    return word;
}

quint32 SecureRandom::uniform(quint32 bound, const Source &source)
{
    Q_ASSERT(bound > 0);
    // Lemire: take the high word of word * bound, rejecting the few low words that
    // would make some results more likely than others.
    quint64 product = quint64(source()) * bound;
    auto low = quint32(product);
    if (low < bound) {
        const quint32 threshold = quint32(-bound) % bound;
        while (low < threshold) {
            product = quint64(source()) * bound;
            low = quint32(product);
        }
    }
    return quint32(product >> 32);
}
