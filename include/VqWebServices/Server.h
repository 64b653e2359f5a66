#pragma once

namespace Velquor::WebServices {

/// The web-services environments. The numbers are part of the exported interface and of the login state file.
enum Server : int {
    NoServer = -1,   ///< No server; no product is configured for it.
    Production = 0,  ///< The server of the users.
    Staging = 1,     ///< The server that tests the next production version.
    Development = 2, ///< The server for development.
};

} // namespace Velquor::WebServices
