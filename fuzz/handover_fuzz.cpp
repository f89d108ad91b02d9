// Feeds arbitrary bytes to the hand-over reader as a peer would send them, in pieces
// whose sizes come from the input's first byte. Beyond the sanitizers, it stops on
// anything the reader promises: it never settles twice, a message it takes is exactly
// the bytes it was sent, and how they were split does not change what it decides.
#include "FuzzInput.h"
#include "HandOverMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype step = data[0] % 7 + 1;
    const QByteArray bytes = bytesOf(data + 1, size - 1);
    HandOverMessage whole;
    HandOverMessage pieces;
    const HandOverMessage::State state = whole.add(bytes);
    qsizetype consumed = 0;
    for (qsizetype at = 0; at < bytes.size() && pieces.state() == HandOverMessage::State::incomplete; at += step) {
        pieces.add(QByteArrayView(bytes).sliced(at, std::min(step, bytes.size() - at)));
        consumed = std::min(at + step, bytes.size());
    }
    check(pieces.state() == state);
    check(state == HandOverMessage::State::incomplete || whole.add("more") == state);
    if (state == HandOverMessage::State::complete) {
        const QByteArray framed = whole.framed();
        check(pieces.arguments == whole.arguments && pieces.givesUpAt == whole.givesUpAt);
        check(bytes.startsWith(framed) && framed.size() <= consumed);
        check(framed.size() <= HandOverMessage::maxBytes + 4);
    }
    return 0;
}
