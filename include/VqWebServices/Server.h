#pragma once

namespace Velquor::WebServices {

/// The web-services environments. The numbers are part of the exported interface and of the login state file.
enum Server : int {
    NoServer = -1,
    Production = 0,
    Staging = 1,
    Development = 2,
};

} // namespace Velquor::WebServices
