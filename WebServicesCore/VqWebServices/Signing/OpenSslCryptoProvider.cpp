#include "Signing/OpenSslCryptoProvider.h"

#include "VqUtil/General/PerThread.h"

#include <memory>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

namespace Velquor::OAuth {

namespace {

constexpr int digestSize = 20;

using Context = std::unique_ptr<EVP_MAC_CTX, decltype(&EVP_MAC_CTX_free)>;

// Fetching the algorithm costs more than a signature, so each thread keeps an initialized context.
Context newContext() {
    const std::unique_ptr<EVP_MAC, decltype(&EVP_MAC_free)> hmac(EVP_MAC_fetch(nullptr, "HMAC", nullptr), &EVP_MAC_free);
    Context context(hmac ? EVP_MAC_CTX_new(hmac.get()) : nullptr, &EVP_MAC_CTX_free);
    char digest[] = "SHA1";
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                                     OSSL_PARAM_construct_end()};
    if (context && EVP_MAC_CTX_set_params(context.get(), parameters) != 1)
        context.reset();
    return context;
}

struct ThreadContext {
    const Context context = newContext();
};

EVP_MAC_CTX* threadContext() {
    // Never destroyed: a thread may sign while the process ends.
    static auto* const contexts = new Util::PerThread<ThreadContext>;
    return contexts->get().context.get();
}

const unsigned char* bytes(const QByteArray& data) {
    return reinterpret_cast<const unsigned char*>(data.constData());
}

} // namespace

int OpenSslCryptoProvider::hmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) {
    EVP_MAC_CTX* const context = threadContext();
    const int room = *outputLength;
    *outputLength = 0;
    if (!context || room < digestSize)
        return 0;
    size_t written = 0;
    const bool done = EVP_MAC_init(context, bytes(key), static_cast<size_t>(key.size()), nullptr) == 1
                      && EVP_MAC_update(context, bytes(data), static_cast<size_t>(data.size())) == 1
                      && EVP_MAC_final(context, output, &written, static_cast<size_t>(room)) == 1;
    if (!done)
        return 0;
    *outputLength = static_cast<int>(written);
    return 1;
}

} // namespace Velquor::OAuth
