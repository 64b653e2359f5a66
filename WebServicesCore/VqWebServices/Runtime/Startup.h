#pragma once

#include "Session/LoginSession.h"

#include <QString>
#include <memory>

namespace Velquor::WebServices {

/// What the start-up of the library makes. A plain value.
struct StartedLibrary {
    std::shared_ptr<LoginSession> session;
    bool hasLogConfiguration = false;
};

/// The work of the first `Initialize`: log, plug-in paths, TLS, proxies, application object, login session. Always gives a
/// session; without a log configuration it says so on the standard output. Thread: the host's main thread.
[[nodiscard]] StartedLibrary startLibrary(const QString& defaultClientKey);

/// The work of the last `Uninitialize`. A call that is still under way on another thread keeps the session until it returns.
void stopLibrary(std::shared_ptr<LoginSession> session);

} // namespace Velquor::WebServices
