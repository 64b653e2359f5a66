// The functions of the C interface about the signed-in user, and those that sign in and out.

#include "CInterface/CCall.h"
#include "Facade/ClientCalls.h"

#include <VqWebServices/WebServicesPrivate.h>
#include <memory>
#include <string>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

// The operation of the facade without keys, or of the one with keys.
template <class Plain, class Keyed>
int32_t tellOfUser(const char* key, size_t key_len, int32_t* yes, Plain plainForm, Keyed keyedForm) noexcept {
    return tell(yes, [&] {
        const CClient client(key, key_len);
        return client.isOwn ? (plain().*plainForm)() : (keyed().*keyedForm)(client.key);
    });
}

Util::SecretBytes cookieHeader(const QString& clientKey) {
    unsigned char* cookie = nullptr;
    const int size = keyed().GetLoginCookie(clientKey, cookie);
    const std::unique_ptr<unsigned char[]> owner(cookie);
    return Util::SecretBytes(QByteArray(reinterpret_cast<const char*>(cookie), size));
}

Util::SecretBytes cookiesAsJson(const QString& clientKey) {
    std::string json;
    (void)withSession("GetLoginCookie", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && WebServicesPrivate::NetworkCookieJarToJson(session.loginCookies(), json);
    });
    return Util::SecretBytes(QByteArray::fromStdString(json));
}

NetworkCookieJar jarFrom(const QByteArray& json) {
    NetworkCookieJar jar;
    require(WebServicesPrivate::JsonToNetworkCookieJar(json.constData(), jar));
    return jar;
}

} // namespace

int32_t vqws_get_user_name(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [&] {
        return facadeText(CClient(key, key_len), &WebServicesManager::GetLoginUserName, &WebServicesManagerEx::GetLoginUserName);
    });
}

int32_t vqws_get_user_id(char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed,
                    [] { return facadeText([](wchar_t* text, int size) { return plain().GetUserId(text, size); }); });
}

int32_t vqws_get_ldap_domain_key(char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed,
                    [] { return facadeText([](wchar_t* text, int size) { return plain().GetLdapDomainKey(text, size); }); });
}

int32_t vqws_is_logged_in(const char* key, size_t key_len, int32_t* yes) noexcept {
    return tellOfUser(key, key_len, yes, &WebServicesManager::IsLoggedIn, &WebServicesManagerEx::IsLoggedIn);
}

int32_t vqws_is_login_valid(const char* key, size_t key_len, int32_t* yes) noexcept {
    return tellOfUser(key, key_len, yes, &WebServicesManager::IsLoginValid, &WebServicesManagerEx::IsLoginValid);
}

int32_t vqws_is_login_expired(int32_t* yes) noexcept {
    return tell(yes, [] { return plain().IsLoginExpired(); });
}

int32_t vqws_get_login_expiry(int64_t* seconds) noexcept {
    return tell(seconds, [] {
        return withSession("GetLoginExpiryDate", qint64(0), [](LoginSession& session) {
            const QDateTime date = session.basicState().sessionExpiryDate;
            return date.isValid() ? date.toSecsSinceEpoch() : 0;
        });
    });
}

int32_t vqws_get_login_cookie(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [&] { return cookieHeader(CClient(key, key_len).key); });
}

int32_t vqws_get_login_cookies_json(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [&] { return cookiesAsJson(CClient(key, key_len).key); });
}

int32_t vqws_restore_login(const char* key, size_t key_len) noexcept {
    return act([&] { return keyed().RestoreLogin(CClient(key, key_len).key); }, VQWS_NO_CONFIGURATION);
}

int32_t vqws_initiate_login(const char* key, size_t key_len, const char* user, size_t user_len, char* buf, size_t cap,
                            size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure, [&] {
        const CClient client(key, key_len);
        return outText(initiateLogin(client.key, textFrom(user, user_len)).url);
    });
}

int32_t vqws_complete_login(const char* key, size_t key_len, const char* cookies, size_t cookies_len) noexcept {
    return act([&] {
        const CClient client(key, key_len);
        const QByteArray json = bytesFrom(cookies, cookies_len);
        return json.isNull() ? keyed().CompleteLogin(client.key) : keyed().CompleteLogin(client.key, jarFrom(json));
    });
}

int32_t vqws_initiate_logout(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure, [&] {
        QString url;
        NetworkCookieJar cookies;
        return outText(initiateLogout(CClient(key, key_len).key, url, cookies) ? url : QString());
    });
}

int32_t vqws_complete_logout(const char* key, size_t key_len) noexcept {
    return act([&] { return keyed().CompleteLogout(CClient(key, key_len).key); });
}

int32_t vqws_logout(const char* key, size_t key_len) noexcept {
    return act([&] { return keyed().Logout(CClient(key, key_len).key); });
}
