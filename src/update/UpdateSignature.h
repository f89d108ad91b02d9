#pragma once

#include <QByteArray>
#include <QByteArrayView>

// Whether an update feed or a downloaded release was signed by whoever holds our update key.
// Keys and signatures travel as base64 of their raw Ed25519 bytes, the way update
// feeds carry them.
class UpdateSignature
{
public:
    // False for anything short of a valid signature of all of `data` by `publicKey`:
    // a malformed key or signature is never a pass.
    static bool verify(QByteArrayView data, const QByteArray &base64Signature, const QByteArray &base64PublicKey);
};
