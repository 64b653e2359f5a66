#pragma once

#include "Session/LoginSession.h"
#include "Time/ITimeService.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <QString>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The objects that the start-up of the library creates. A plain value.
struct StartedLibrary {
    std::shared_ptr<LoginSession> session;
    std::shared_ptr<OAuth::ITimeService> timeService;
    std::shared_ptr<Util::ProcessState> processState;
    bool hasLogConfiguration = false;
};

/// The work of the first `Initialize`: log, plug-in paths, TLS, proxies, application object, login session. It always creates a
/// session. A missing log configuration is reported on the standard output. `oauth2Specs`: the OAuth2 tokens of the default
/// client, none or one. Thread: the host's main thread.
[[nodiscard]] StartedLibrary startLibrary(const QString& defaultClientKey, const QVector<OAuth2TokenSpec>& oauth2Specs);

/// The work of the last `Uninitialize`: ends all token work, every wait and every thread. A call that still runs on another
/// thread fails soon; the session exists until that call returns.
void stopLibrary(StartedLibrary library);

} // namespace Velquor::WebServices::Internal
