#include "UpdateSignature.h"

#include <openssl/evp.h>

#include <memory>
#include <optional>

namespace {

constexpr qsizetype publicKeyBytes = 32;
constexpr qsizetype signatureBytes = 64;

std::optional<QByteArray> decoded(const QByteArray &base64, qsizetype size)
{
    const auto result = QByteArray::fromBase64Encoding(base64.trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    if (!result || result.decoded.size() != size)
        return std::nullopt;
    return result.decoded;
}

} // namespace

bool UpdateSignature::verify(QByteArrayView data, const QByteArray &base64Signature, const QByteArray &base64PublicKey)
{
    const std::optional<QByteArray> key = decoded(base64PublicKey, publicKeyBytes);
    const std::optional<QByteArray> signature = decoded(base64Signature, signatureBytes);
    if (!key || !signature)
        return false;

    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> publicKey(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, reinterpret_cast<const unsigned char *>(key->constData()),
                                    size_t(key->size())),
        &EVP_PKEY_free);
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!publicKey || !context)
        return false;
    // Ed25519 hashes the message itself, so no digest is named.
    if (EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, publicKey.get()) != 1)
        return false;
    return EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char *>(signature->constData()),
                            size_t(signature->size()), reinterpret_cast<const unsigned char *>(data.data()),
                            size_t(data.size()))
        == 1;
}
