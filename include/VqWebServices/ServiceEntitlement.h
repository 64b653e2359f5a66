#pragma once

namespace Velquor::WebServices {

/// Whether the signed-in user may use a service. The numbers are part of the exported interface.
enum class ServiceEntitlement {
    Unknown = 0,        ///< No list of services was received since the sign-in, or the service name is empty.
    Entitled = 1,       ///< The user may use the service.
    NotEntitled = 2,    ///< The list does not name the service, or says that the user may not use it.
    Trial = 3,          ///< The user may use the service for a trial period.
    NoLoginSession = 4, ///< The product is not signed in, or the client is unknown.
};

} // namespace Velquor::WebServices
