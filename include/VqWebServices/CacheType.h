#pragma once

namespace Velquor::WebServices {

/// The replies that the library caches for each product. The numbers are part of the exported interface.
enum class CacheType {
    UserInfo = 1,     ///< The user's profile: e-mail address and names.
    StorageQuota = 2, ///< The user's cloud storage.
    Entitlement = 16, ///< The services that the user may use.
};

} // namespace Velquor::WebServices
