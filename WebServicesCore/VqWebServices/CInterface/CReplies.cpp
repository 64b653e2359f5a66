// The functions of the C interface with cached replies of the web services, and with proxy credentials.

#include "CInterface/CCall.h"
#include "Network/Proxy/ProxyPrompt.h"

#include <memory>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

CacheType cacheFrom(int32_t cache) {
    require(cache == VQWS_CACHE_USER_INFO || cache == VQWS_CACHE_STORAGE_QUOTA || cache == VQWS_CACHE_ENTITLEMENT);
    return static_cast<CacheType>(cache);
}

std::wstring wideFrom(const char* text, size_t length) {
    return wideText(textFrom(text, length));
}

using FieldReader = int (WebServicesManagerEx::*)(const QString&, wchar_t*, int);

int32_t tellField(const char* key, size_t key_len, FieldReader reader, const COutput& out) noexcept {
    return tellText(out, Emptiness::Allowed, [&] {
        const CClient client(key, key_len);
        return facadeText([&](wchar_t* text, int size) { return (keyed().*reader)(client.key, text, size); });
    });
}

// What the facade has allocated for its caller.
Util::SecretBytes taken(wchar_t* text) {
    const std::unique_ptr<wchar_t[]> owner(text);
    return outText(QString::fromStdWString(text ? std::wstring(text) : std::wstring()));
}

Util::SecretBytes entitlementXml(const CClient& client, const char* service, size_t service_len) {
    wchar_t* text = nullptr;
    const QString name = textFrom(service, service_len);
    if (name.isNull())
        (void)keyed().GetServiceEntitlementEx(client.key, text);
    else
        (void)keyed().GetServiceEntitlementEx(client.key, wideText(name).c_str(), text);
    return taken(text);
}

int32_t tellLogin(const char* host, size_t host_len, int32_t port, QString ProxyLogin::*part, const COutput& out) noexcept {
    return tellText(out, Emptiness::Allowed, [&] {
        const QString name = textFrom(host, host_len);
        require(!name.isEmpty());
        ProxyLogin login;
        const bool isFound = withSessionAsIs("GetProxyAuthentication", false, [&](LoginSession& session) {
            return session.proxyCredentials().HasProxyAuthentication(name, port)
                   && session.proxyCredentials().GetProxyAuthentication(name, port, login);
        });
        require(isFound, CCall::failure(VQWS_NOT_FOUND));
        return outText(login.*part);
    });
}

} // namespace

int32_t vqws_get_user_email(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellField(key, key_len, &WebServicesManagerEx::GetUserEmail, {buf, cap, len});
}

int32_t vqws_get_user_first_name(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellField(key, key_len, &WebServicesManagerEx::GetUserFirstName, {buf, cap, len});
}

int32_t vqws_get_user_last_name(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellField(key, key_len, &WebServicesManagerEx::GetUserLastName, {buf, cap, len});
}

int32_t vqws_get_user_info(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::IsFailure, [&] {
        wchar_t* text = nullptr;
        (void)keyed().GetUserInfo(CClient(key, key_len).key, text);
        return taken(text);
    });
}

int32_t vqws_get_entitlement(const char* key, size_t key_len, const char* service, size_t service_len, int32_t* answer) noexcept {
    return tell(answer, [&] {
        const CClient client(key, key_len);
        const auto told = static_cast<int>(keyed().GetServiceEntitlement(client.key, wideFrom(service, service_len).c_str()));
        require(told != VQWS_ENTITLEMENT_NO_SESSION, CCall::failure(VQWS_NOT_SIGNED_IN));
        return told;
    });
}

int32_t vqws_get_entitlement_xml(const char* key, size_t key_len, const char* service, size_t service_len, char* buf, size_t cap,
                                 size_t* len) noexcept {
    return tellText(
        {buf, cap, len}, Emptiness::IsFailure, [&] { return entitlementXml(CClient(key, key_len), service, service_len); },
        VQWS_NOT_FOUND);
}

int32_t vqws_get_storage_quota(const char* key, size_t key_len, int64_t* used, int64_t* total) noexcept {
    return act([&] {
        required(used) = 0;
        required(total) = 0;
        long long usedBytes = 0;
        long long totalBytes = 0;
        const bool isKnown = keyed().GetCloudStorageQuota(CClient(key, key_len).key, usedBytes, totalBytes);
        *used = usedBytes;
        *total = totalBytes;
        return isKnown;
    });
}

int32_t vqws_is_cache_enabled(const char* key, size_t key_len, int32_t cache, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsCacheEnabled(CClient(key, key_len).key, cacheFrom(cache)); });
}

int32_t vqws_enable_cache(const char* key, size_t key_len, int32_t cache, int32_t enable) noexcept {
    return act([&] {
        keyed().EnableCache(CClient(key, key_len).key, cacheFrom(cache), enable != 0);
        return CCall::failure(VQWS_OK) == VQWS_OK;
    });
}

int32_t vqws_is_cache_available(const char* key, size_t key_len, int32_t cache, int32_t* yes) noexcept {
    return tell(yes, [&] { return keyed().IsCacheAvailable(CClient(key, key_len).key, cacheFrom(cache)); });
}

int32_t vqws_invalidate_cache(const char* key, size_t key_len, int32_t cache) noexcept {
    return act([&] {
        keyed().InvalidateCache(CClient(key, key_len).key, cacheFrom(cache));
        return CCall::failure(VQWS_OK) == VQWS_OK;
    });
}

int32_t vqws_get_proxy_dialog_text(int32_t which, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [&] {
        require(which == VQWS_DIALOG_CAPTION || which == VQWS_DIALOG_MESSAGE);
        ProxyDialogTexts texts;
        (void)withSessionAsIs("GetProxyAuthenticationDialogText", false, [&](LoginSession&) {
            texts = ProxyPrompt::instance().texts();
            return true;
        });
        return outText(which == VQWS_DIALOG_CAPTION ? texts.caption : texts.message);
    });
}

int32_t vqws_set_proxy_dialog_texts(const char* caption, size_t caption_len, const char* message, size_t message_len) noexcept {
    return act([&] {
        const std::wstring title = wideFrom(caption, caption_len);
        plain().SetProxyAuthenticationDialogText(title.c_str(), wideFrom(message, message_len).c_str());
        return CCall::failure(VQWS_OK) == VQWS_OK;
    });
}

int32_t vqws_has_proxy(int32_t* yes) noexcept {
    return tell(yes, [] { return plain().HasProxyInfo(); });
}

int32_t vqws_has_proxy_login(const char* host, size_t host_len, int32_t port, int32_t* yes) noexcept {
    return tell(yes, [&] { return plain().HasProxyAuthentication(wideFrom(host, host_len).c_str(), port); });
}

int32_t vqws_get_proxy_user(const char* host, size_t host_len, int32_t port, char* buf, size_t cap, size_t* len) noexcept {
    return tellLogin(host, host_len, port, &ProxyLogin::user, {buf, cap, len});
}

int32_t vqws_get_proxy_password(const char* host, size_t host_len, int32_t port, char* buf, size_t cap, size_t* len) noexcept {
    return tellLogin(host, host_len, port, &ProxyLogin::password, {buf, cap, len});
}

int32_t vqws_set_proxy_login(const char* host, size_t host_len, int32_t port, const char* user, size_t user_len,
                             const char* password, size_t password_len) noexcept {
    const auto work = [&] {
        const QString hostName = textFrom(host, host_len);
        const QString userName = textFrom(user, user_len);
        const QString secret = textFrom(password, password_len);
        return withSessionAsIs("SetProxyAuthentication", false, [&](LoginSession& session) {
            return session.SetProxyAuthentication(hostName, port, userName, secret);
        });
    };
    return act(work, VQWS_ARGUMENT);
}

int32_t vqws_clear_proxy() noexcept {
    return act([] { return plain().ClearProxyInfo(); });
}
