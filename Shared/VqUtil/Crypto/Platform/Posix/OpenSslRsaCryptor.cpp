#include "VqUtil/Crypto/Platform/Posix/OpenSslRsaCryptor.h"

#include <openssl/err.h>
#include <openssl/rsa.h>
#include <utility>

namespace Velquor::Util {

namespace {

constexpr int oaepOverhead = 2 * 20 + 2;

using Context = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

Context contextFor(EVP_PKEY* key) {
    return Context(EVP_PKEY_CTX_new(key, nullptr), &EVP_PKEY_CTX_free);
}

const unsigned char* bytes(const QByteArray& data) {
    return reinterpret_cast<const unsigned char*>(data.constData());
}

// OpenSSL's error queue is per thread. The next TLS connection of this thread would report an error left in it.
bool withClearedErrors(bool done) {
    if (!done)
        ERR_clear_error();
    return done;
}

bool useOaep(EVP_PKEY_CTX* context) {
    return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_OAEP_PADDING) == 1;
}

} // namespace

OpenSslRsaCryptor::OpenSslRsaCryptor(EvpKey key)
    : m_key(std::move(key)) {}

int OpenSslRsaCryptor::blockSize() const {
    return m_key ? EVP_PKEY_size(m_key.get()) : 0;
}

int OpenSslRsaCryptor::maximumClearSize() const {
    return m_key ? blockSize() - oaepOverhead : 0;
}

QByteArray OpenSslRsaCryptor::encryptBlock(const QByteArray& clear) {
    if (!m_key || clear.size() > maximumClearSize())
        return {};
    const Context context = contextFor(m_key.get());
    QByteArray block(blockSize(), '\0');
    size_t size = static_cast<size_t>(block.size());
    const bool done = context && EVP_PKEY_encrypt_init(context.get()) == 1 && useOaep(context.get())
                      && EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(block.data()), &size, bytes(clear),
                                          static_cast<size_t>(clear.size()))
                             == 1;
    return withClearedErrors(done) && size == static_cast<size_t>(block.size()) ? block : QByteArray();
}

SecretBytes OpenSslRsaCryptor::decryptBlock(const QByteArray& block) {
    if (!m_key || block.size() != blockSize())
        return {};
    const Context context = contextFor(m_key.get());
    SecretBytes padded{QByteArray(blockSize(), '\0')};
    size_t size = static_cast<size_t>(padded.size());
    const bool done = context && EVP_PKEY_decrypt_init(context.get()) == 1 && useOaep(context.get())
                      && EVP_PKEY_decrypt(context.get(), reinterpret_cast<unsigned char*>(padded.writable()), &size, bytes(block),
                                          static_cast<size_t>(block.size()))
                             == 1;
    return withClearedErrors(done) ? SecretBytes(QByteArray(padded.data(), static_cast<int>(size))) : SecretBytes();
}

} // namespace Velquor::Util
