#pragma once

#include "Session/Core/SessionState.h"

#include <VqWebServices/WebServicesConfiguration.h>
#include <optional>

namespace Velquor::WebServices::Internal {

/// Removes clients, and stores their configurations.
///
/// Thread: any; takes the login session lock itself. Owner: its user's stack. Errors: false and a log line.
class ClientSetup {
public:
    explicit ClientSetup(SessionState& state);

    /// Forgets the client, and its product when no other client of this process is the same product.
    void remove(const QString& clientKey);

    /// Registers or replaces a client's configuration for the configuration's server. False for an empty client key, an unknown
    /// client, a configuration without consumer key or secret, or one for no real server.
    bool setConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration);

private:
    /// Why a configuration for this server starts no token work now; none when it does.
    [[nodiscard]] std::optional<QString> reasonToWait(Server server) const;

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
