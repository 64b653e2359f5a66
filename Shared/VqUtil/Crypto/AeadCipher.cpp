#include "VqUtil/Crypto/AeadCipher.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace Velquor::Util::AeadCipher {

namespace {

// Freeing a context wipes the prepared key.
using Context = std::shared_ptr<EVP_CIPHER_CTX>;

Context newContext() {
    return {EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free};
}

// OpenSSL would search it again for each text. Never freed: a thread may need it while the process ends.
const EVP_CIPHER* cipher() {
    static const EVP_CIPHER* const fetched = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
    return fetched;
}

const unsigned char* bytes(const char* data) {
    return reinterpret_cast<const unsigned char*>(data);
}
unsigned char* bytes(char* data) {
    return reinterpret_cast<unsigned char*>(data);
}

Context preparedContext(const SecretBytes& key) {
    Context context = newContext();
    const bool isReady =
        key.size() == keySize && context && EVP_DecryptInit_ex(context.get(), cipher(), nullptr, bytes(key.data()), nullptr) == 1;
    return isReady ? context : nullptr;
}

} // namespace

SecretBytes newKey() {
    SecretBytes key{QByteArray(keySize, '\0')};
    if (RAND_priv_bytes(bytes(key.writable()), keySize) != 1)
        return {};
    return key;
}

QByteArray seal(const SecretBytes& key, const QByteArray& clear) {
    const Context owner = newContext();
    EVP_CIPHER_CTX* const context = owner.get();
    if (key.size() != keySize || !context)
        return {};
    QByteArray sealed(nonceSize + clear.size() + tagSize, '\0');
    char* const nonce = sealed.data();
    char* const text = nonce + nonceSize;
    int written = 0;
    const bool done = RAND_bytes(bytes(nonce), nonceSize) == 1
                      && EVP_EncryptInit_ex(context, cipher(), nullptr, bytes(key.data()), bytes(nonce)) == 1
                      && EVP_EncryptUpdate(context, bytes(text), &written, bytes(clear.constData()), clear.size()) == 1
                      && EVP_EncryptFinal_ex(context, bytes(text + written), &written) == 1
                      && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, tagSize, text + clear.size()) == 1;
    return done ? sealed : QByteArray();
}

SecretBytes open(const SecretBytes& key, const QByteArray& sealed) {
    return Opener(key).open(sealed);
}

Opener::Opener(const SecretBytes& key)
    : m_context(preparedContext(key)) {}

SecretBytes Opener::open(const QByteArray& sealed) const {
    const int size = sealed.size() - nonceSize - tagSize;
    if (!m_context || size < 0)
        return {};
    EVP_CIPHER_CTX* const context = m_context.get();
    SecretBytes clear{QByteArray(size, '\0')};
    const char* const text = sealed.constData() + nonceSize;
    int written = 0;
    unsigned char* const out = bytes(clear.writable());
    const bool done = EVP_DecryptInit_ex(context, nullptr, nullptr, nullptr, bytes(sealed.constData())) == 1
                      && EVP_DecryptUpdate(context, out, &written, bytes(text), size) == 1
                      && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, tagSize, const_cast<char*>(text + size)) == 1
                      && EVP_DecryptFinal_ex(context, out + written, &written) == 1;
    if (!done) {
        // OpenSSL's error queue is per thread. The next TLS connection of this thread would report an error left in it.
        ERR_clear_error();
        return {};
    }
    return clear;
}

} // namespace Velquor::Util::AeadCipher
