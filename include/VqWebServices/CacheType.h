#pragma once

namespace Velquor::WebServices {

/// The replies that the library caches for each product. The numbers are part of the exported interface.
enum class CacheType {
    UserInfo = 1,
    StorageQuota = 2,
    Entitlement = 16,
};

} // namespace Velquor::WebServices
