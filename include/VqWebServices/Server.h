#pragma once

namespace Velquor::WebServices {

/// The web-services environments. The numbers are part of the exported interface and of the login state file.
enum Server : int {
    NoServer = -1,   ///< None; no product is configured for it.
    Production = 0,  ///< The one that users work with.
    Staging = 1,     ///< The one on which the next production is tried.
    Development = 2, ///< The one for development.
};

} // namespace Velquor::WebServices
