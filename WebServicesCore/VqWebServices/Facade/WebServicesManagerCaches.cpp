#include <VqWebServices/WebServicesManager.h>

#include "Facade/FacadeCall.h"

// The default client's operations with cached replies of the web services.

namespace Velquor::WebServices {

using namespace Internal;

int WebServicesManager::GetUserEmail(wchar_t* buffer, int size) {
    return keyed().GetUserEmail(defaultKey(), buffer, size);
}

int WebServicesManager::GetUserFirstName(wchar_t* buffer, int size) {
    return keyed().GetUserFirstName(defaultKey(), buffer, size);
}

int WebServicesManager::GetUserLastName(wchar_t* buffer, int size) {
    return keyed().GetUserLastName(defaultKey(), buffer, size);
}

bool WebServicesManager::GetUserInfo(wchar_t*& text) {
    return keyed().GetUserInfo(defaultKey(), text);
}

ServiceEntitlement WebServicesManager::GetServiceEntitlement(const wchar_t* service) {
    return keyed().GetServiceEntitlement(defaultKey(), service);
}

ServiceEntitlement WebServicesManager::GetServiceEntitlement(const wchar_t* service, wchar_t*& text) {
    return keyed().GetServiceEntitlement(defaultKey(), service, text);
}

bool WebServicesManager::GetServiceEntitlementEx(wchar_t*& text) {
    return keyed().GetServiceEntitlementEx(defaultKey(), text);
}

bool WebServicesManager::GetServiceEntitlementEx(const wchar_t* service, wchar_t*& text) {
    return keyed().GetServiceEntitlementEx(defaultKey(), service, text);
}

bool WebServicesManager::GetCloudStorageQuota(long long& used, long long& total) {
    return keyed().GetCloudStorageQuota(defaultKey(), used, total);
}

bool WebServicesManager::IsCacheEnabled(CacheType type) {
    return keyed().IsCacheEnabled(defaultKey(), type);
}

void WebServicesManager::EnableCache(CacheType type, bool enable) {
    keyed().EnableCache(defaultKey(), type, enable);
}

bool WebServicesManager::IsCacheAvailable(CacheType type) {
    return keyed().IsCacheAvailable(defaultKey(), type);
}

void WebServicesManager::InvalidateCache(CacheType type) {
    keyed().InvalidateCache(defaultKey(), type);
}

} // namespace Velquor::WebServices
