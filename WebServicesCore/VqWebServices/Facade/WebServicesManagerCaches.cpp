#include <VqWebServices/WebServicesManager.h>

#include "Facade/DefaultClient.h"

// The default client's operations with cached replies of the web services.

namespace Velquor::WebServices {

using namespace Internal;

int WebServicesManager::GetUserEmail(wchar_t* buffer, int size) {
    return keyed().GetUserEmail(self(), buffer, size);
}

int WebServicesManager::GetUserFirstName(wchar_t* buffer, int size) {
    return keyed().GetUserFirstName(self(), buffer, size);
}

int WebServicesManager::GetUserLastName(wchar_t* buffer, int size) {
    return keyed().GetUserLastName(self(), buffer, size);
}

bool WebServicesManager::GetUserInfo(wchar_t*& text) {
    return keyed().GetUserInfo(self(), text);
}

ServiceEntitlement WebServicesManager::GetServiceEntitlement(const wchar_t* service) {
    return keyed().GetServiceEntitlement(self(), service);
}

ServiceEntitlement WebServicesManager::GetServiceEntitlement(const wchar_t* service, wchar_t*& text) {
    return keyed().GetServiceEntitlement(self(), service, text);
}

bool WebServicesManager::GetServiceEntitlementEx(wchar_t*& text) {
    return keyed().GetServiceEntitlementEx(self(), text);
}

bool WebServicesManager::GetServiceEntitlementEx(const wchar_t* service, wchar_t*& text) {
    return keyed().GetServiceEntitlementEx(self(), service, text);
}

bool WebServicesManager::GetCloudStorageQuota(long long& used, long long& total) {
    return keyed().GetCloudStorageQuota(self(), used, total);
}

bool WebServicesManager::IsCacheEnabled(CacheType type) {
    return keyed().IsCacheEnabled(self(), type);
}

void WebServicesManager::EnableCache(CacheType type, bool enable) {
    keyed().EnableCache(self(), type, enable);
}

bool WebServicesManager::IsCacheAvailable(CacheType type) {
    return keyed().IsCacheAvailable(self(), type);
}

void WebServicesManager::InvalidateCache(CacheType type) {
    keyed().InvalidateCache(self(), type);
}

} // namespace Velquor::WebServices
