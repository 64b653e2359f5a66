// The keyed operations with cached replies of the web services.

#include "Facade/FacadeCall.h"
#include "Values/CallerText.h"

#include <VqWebServices/WebServicesManagerEx.h>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

using UserInfoPointer = std::shared_ptr<const UserInfo>;
using EntitlementsPointer = std::shared_ptr<const Entitlements>;

UserInfoPointer userInfo(const char* operation, const QString& clientKey) {
    if (!mayUseNetwork(
            "Cannot get user information. Web Services initialization failed due to missing WebServices.logconfig file."))
        return {};
    return withSession(operation, UserInfoPointer(), [&](LoginSession& session) {
        auto info = session.requireClient(clientKey) ? session.caches().userInfo(clientKey) : UserInfoPointer();
        reportSignedOut(operation, session, clientKey, info != nullptr);
        return info;
    });
}

EntitlementsPointer entitlements(const char* operation, const QString& clientKey) {
    if (!mayUseNetwork(
            "Cannot get service entitlements. Web Services initialization failed due to missing WebServices.logconfig file."))
        return {};
    return withSession(operation, EntitlementsPointer(), [&](LoginSession& session) {
        auto list = session.requireClient(clientKey) ? session.caches().entitlements(clientKey) : EntitlementsPointer();
        reportSignedOut(operation, session, clientKey, list != nullptr);
        return list;
    });
}

int copyField(const char* operation, const QString& clientKey, QString UserInfo::*field, wchar_t* buffer, int size) {
    return guarded(operation, 0, [&] {
        const UserInfoPointer info = userInfo(operation, clientKey);
        return copyText(info ? (*info).*field : QString(), buffer, size);
    });
}

// May throw, since the text may be too large for the memory.
bool handOut(const QString& text, wchar_t*& result) {
    result = text.isEmpty() ? nullptr : allocateText(text);
    return result != nullptr;
}

} // namespace

int WebServicesManagerEx::GetUserEmail(const QString& clientKey, wchar_t* buffer, int size) {
    return copyField("GetUserEmail", clientKey, &UserInfo::email, buffer, size);
}

int WebServicesManagerEx::GetUserFirstName(const QString& clientKey, wchar_t* buffer, int size) {
    return copyField("GetUserFirstName", clientKey, &UserInfo::firstName, buffer, size);
}

int WebServicesManagerEx::GetUserLastName(const QString& clientKey, wchar_t* buffer, int size) {
    return copyField("GetUserLastName", clientKey, &UserInfo::lastName, buffer, size);
}

bool WebServicesManagerEx::GetUserInfo(const QString& clientKey, wchar_t*& text) {
    text = nullptr;
    return guarded("GetUserInfo", false, [&] {
        const UserInfoPointer info = userInfo("GetUserInfo", clientKey);
        return handOut(info ? info->text : QString(), text);
    });
}

ServiceEntitlement WebServicesManagerEx::GetServiceEntitlement(const QString& clientKey, const wchar_t* service) {
    wchar_t* text = nullptr;
    const ServiceEntitlement answer = GetServiceEntitlement(clientKey, service, text);
    delete[] text;
    return answer;
}

ServiceEntitlement WebServicesManagerEx::GetServiceEntitlement(const QString& clientKey, const wchar_t* service, wchar_t*& text) {
    text = nullptr;
    if (!mayUseNetwork(
            "Cannot get service entitlements. Web Services initialization failed due to missing WebServices.logconfig file."))
        return ServiceEntitlement::NoLoginSession;
    return withSession("GetServiceEntitlement", ServiceEntitlement::NoLoginSession, [&](LoginSession& session) {
        if (!session.requireClient(clientKey) || !session.caches().hasProduct(clientKey)) {
            reportSignedOut("GetServiceEntitlement", session, clientKey, false);
            return ServiceEntitlement::NoLoginSession;
        }
        const EntitlementsPointer list = session.caches().entitlements(clientKey);
        if (!list)
            return ServiceEntitlement::Unknown;
        const QString name = textFromCaller(service);
        handOut(list->services.value(name).text, text);
        return list->answerFor(name);
    });
}

bool WebServicesManagerEx::GetServiceEntitlementEx(const QString& clientKey, wchar_t*& text) {
    text = nullptr;
    return guarded("GetServiceEntitlementEx", false, [&] {
        const EntitlementsPointer list = entitlements("GetServiceEntitlementEx", clientKey);
        return handOut(list ? list->text : QString(), text);
    });
}

bool WebServicesManagerEx::GetServiceEntitlementEx(const QString& clientKey, const wchar_t* service, wchar_t*& text) {
    text = nullptr;
    return guarded("GetServiceEntitlementEx", false, [&] {
        const EntitlementsPointer list = entitlements("GetServiceEntitlementEx", clientKey);
        return handOut(list ? list->services.value(textFromCaller(service)).text : QString(), text);
    });
}

bool WebServicesManagerEx::GetCloudStorageQuota(const QString& clientKey, long long& used, long long& total) {
    used = 0;
    total = 0;
    if (!mayUseNetwork(
            "Cannot get cloud storage quota. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("GetCloudStorageQuota", false, [&](LoginSession& session) {
        const std::shared_ptr<const StorageQuota> quota =
            session.requireClient(clientKey) ? session.caches().quota(clientKey) : nullptr;
        if (!reportSignedOut("GetCloudStorageQuota", session, clientKey, quota != nullptr))
            return false;
        used = quota->used;
        total = quota->total;
        return true;
    });
}

bool WebServicesManagerEx::IsCacheEnabled(const QString& clientKey, CacheType type) {
    return withSession("IsCacheEnabled", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.caches().IsCacheEnabled(clientKey, type);
    });
}

void WebServicesManagerEx::EnableCache(const QString& clientKey, CacheType type, bool enable) {
    withSession("EnableCache", false, [&](LoginSession& session) {
        if (session.requireClient(clientKey))
            session.caches().EnableCache(clientKey, type, enable);
        return true;
    });
}

bool WebServicesManagerEx::IsCacheAvailable(const QString& clientKey, CacheType type) {
    return withSession("IsCacheAvailable", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.caches().IsCacheAvailable(clientKey, type);
    });
}

void WebServicesManagerEx::InvalidateCache(const QString& clientKey, CacheType type) {
    withSession("InvalidateCache", false, [&](LoginSession& session) {
        if (session.requireClient(clientKey))
            session.caches().InvalidateCache(clientKey, type);
        return true;
    });
}

} // namespace Velquor::WebServices
