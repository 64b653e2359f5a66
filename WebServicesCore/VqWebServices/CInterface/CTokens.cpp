// The functions of the C interface with tokens, and those that sign.

#include "CInterface/CCall.h"
#include "CInterface/CTokenSpec.h"
#include "Facade/ClientCalls.h"

#include <optional>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

SigningTexts textsFrom(const vqws_request& given) {
    require(given.reserved == 0, VQWS_UNSUPPORTED);
    require(given.param_count <= maximumParameters && (given.params || given.param_count == 0));
    SigningTexts texts;
    texts.url = bytesFrom(given.url);
    texts.method = static_cast<HttpMethod>(given.method);
    texts.mode = static_cast<ParsingMode>(given.mode);
    for (size_t index = 0; index < given.param_count; ++index)
        texts.parameters.append({bytesFrom(given.params[index].name), bytesFrom(given.params[index].value)});
    texts.token = bytesFrom(given.token);
    texts.tokenSecret = bytesFrom(given.token_secret);
    return texts;
}

Util::SecretBytes sign(const CClient& client, const SigningTexts& texts, bool checkExpiry) {
    return Util::SecretBytes(signRequest(
        client.key, [&] { return texts; }, [&] { return QString::fromUtf8(texts.url); }, checkExpiry));
}

/// The caller's spec; none for a null one, which means the client's default token.
class Spec {
public:
    explicit Spec(const vqws_token_spec* given) {
        if (given)
            m_spec = specFrom(given);
    }
    [[nodiscard]] const OAuth2TokenSpec* pointer() const { return m_spec ? &*m_spec : nullptr; }

private:
    std::optional<OAuth2TokenSpec> m_spec;
};

Util::SecretBytes oauth2Token(const CClient& client, const Spec& spec, bool wait) {
    OAuth2Token token;
    (void)keyed().GetOAuth2AccessToken(token, client.key, spec.pointer(), wait);
    return outText(textFromCaller(token.GetToken()));
}

} // namespace

int32_t vqws_is_token_available(const char* key, size_t key_len, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsTokenAvailable(CClient(key, key_len).key); });
}

int32_t vqws_is_token_expired(const char* key, size_t key_len, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsTokenExpired(CClient(key, key_len).key); });
}

int32_t vqws_get_token_expiry(const char* key, size_t key_len, int64_t* seconds) noexcept {
    return tell(seconds, [&] { return keyed().GetTokenExpiryDate(CClient(key, key_len).key); });
}

int32_t vqws_get_access_token(const char* key, size_t key_len, int32_t check_expiry, char* buf, size_t cap,
                              size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure,
                    [&] { return accessToken(CClient(key, key_len).key, check_expiry != 0); });
}

int32_t vqws_refresh_token(const char* key, size_t key_len, int32_t synchronous) noexcept {
    return act([&] { return keyed().RefreshToken(CClient(key, key_len).key, synchronous != 0); });
}

int32_t vqws_sign_request(const char* key, size_t key_len, const vqws_request* request, char* buf, size_t cap,
                          size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure, [&] {
        const CClient client(key, key_len);
        return sign(client, textsFrom(readStruct(request)), true);
    });
}

int32_t vqws_sign_url_for_browser(const char* key, size_t key_len, const char* url, size_t url_len, int32_t check_expiry,
                                  char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure, [&] {
        const CClient client(key, key_len);
        SigningTexts texts;
        texts.url = bytesFrom(url, url_len);
        texts.mode = ParsingMode::SignedUrl;
        return sign(client, texts, check_expiry != 0);
    });
}

int32_t vqws_is_oauth2_enabled(const char* key, size_t key_len, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsOAuth2Enabled(CClient(key, key_len).key); });
}

int32_t vqws_enable_oauth2(const char* key, size_t key_len, const vqws_token_spec* spec) noexcept {
    return act([&] {
        const CClient client(key, key_len);
        const Spec read(spec);
        return read.pointer() ? keyed().EnableOAuth2(client.key, *read.pointer()) : keyed().EnableOAuth2(client.key, true);
    });
}

int32_t vqws_disable_oauth2(const char* key, size_t key_len) noexcept {
    return act([&] { return keyed().EnableOAuth2(CClient(key, key_len).key, false); });
}

int32_t vqws_get_oauth2_token(const char* key, size_t key_len, const vqws_token_spec* spec, int32_t wait, char* buf, size_t cap,
                              size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure, [&] {
        const CClient client(key, key_len);
        return oauth2Token(client, Spec(spec), wait != 0);
    });
}

int32_t vqws_refresh_oauth2_token(const char* key, size_t key_len, const vqws_token_spec* spec, int32_t synchronous) noexcept {
    return act([&] {
        const CClient client(key, key_len);
        return keyed().RefreshOAuth2Token(client.key, Spec(spec).pointer(), synchronous != 0);
    });
}

int32_t vqws_is_oauth2_token_available(const char* key, size_t key_len, const vqws_token_spec* spec, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsOAuth2TokenAvailable(CClient(key, key_len).key, Spec(spec).pointer()); });
}

int32_t vqws_is_oauth2_token_expired(const char* key, size_t key_len, const vqws_token_spec* spec, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsOAuth2TokenExpired(CClient(key, key_len).key, Spec(spec).pointer()); });
}

int32_t vqws_get_oauth2_token_expiry(const char* key, size_t key_len, const vqws_token_spec* spec, int64_t* seconds) noexcept {
    return tell(seconds, [&] { return keyed().GetOAuth2TokenExpiryDate(CClient(key, key_len).key, Spec(spec).pointer()); });
}
