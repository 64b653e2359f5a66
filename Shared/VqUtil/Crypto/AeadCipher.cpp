#include "VqUtil/Crypto/AeadCipher.h"

#include "VqUtil/General/PerThread.h"

#include <memory>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace Velquor::Util::AeadCipher {

namespace {

struct Context {
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context{EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free};
};

// One context per thread: creating one takes longer than encrypting a short text.
EVP_CIPHER_CTX* threadContext() {
    static auto* const contexts = new PerThread<Context>;
    return contexts->get().context.get();
}

const unsigned char* bytes(const char* data) {
    return reinterpret_cast<const unsigned char*>(data);
}
unsigned char* bytes(char* data) {
    return reinterpret_cast<unsigned char*>(data);
}

// The context keeps the key schedule, so reset it after each use.
struct WipeContext {
    EVP_CIPHER_CTX* context;
    ~WipeContext() { EVP_CIPHER_CTX_reset(context); }
};

} // namespace

SecretBytes newKey() {
    SecretBytes key{QByteArray(keySize, '\0')};
    if (RAND_priv_bytes(bytes(key.writable()), keySize) != 1)
        return {};
    return key;
}

QByteArray seal(const SecretBytes& key, const QByteArray& clear) {
    EVP_CIPHER_CTX* const context = threadContext();
    if (key.size() != keySize || !context)
        return {};
    const WipeContext wipe{context};
    QByteArray sealed(nonceSize + clear.size() + tagSize, '\0');
    char* const nonce = sealed.data();
    char* const text = nonce + nonceSize;
    int written = 0;
    const bool done = RAND_bytes(bytes(nonce), nonceSize) == 1
                      && EVP_EncryptInit_ex(context, EVP_aes_256_gcm(), nullptr, bytes(key.data()), bytes(nonce)) == 1
                      && EVP_EncryptUpdate(context, bytes(text), &written, bytes(clear.constData()), clear.size()) == 1
                      && EVP_EncryptFinal_ex(context, bytes(text + written), &written) == 1
                      && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, tagSize, text + clear.size()) == 1;
    return done ? sealed : QByteArray();
}

SecretBytes open(const SecretBytes& key, const QByteArray& sealed) {
    EVP_CIPHER_CTX* const context = threadContext();
    const int size = sealed.size() - nonceSize - tagSize;
    if (key.size() != keySize || !context || size < 0)
        return {};
    const WipeContext wipe{context};
    SecretBytes clear{QByteArray(size, '\0')};
    const char* const text = sealed.constData() + nonceSize;
    int written = 0;
    unsigned char* const out = bytes(clear.writable());
    const bool done = EVP_DecryptInit_ex(context, EVP_aes_256_gcm(), nullptr, bytes(key.data()), bytes(sealed.constData())) == 1
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
