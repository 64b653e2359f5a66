#pragma once

#include <QJsonObject>

namespace Velquor::WebServices::Internal {

class SessionState;

/// The clients and product login sessions of this process as one JSON object, for support: {"LoginSession": {"Clients": [...],
/// "ProductLoginSessions": [...]}}. It holds names, keys of products, servers and flags; no secret of a configuration, no token.
///
/// Thread: any; takes the login session lock.
[[nodiscard]] QJsonObject dumpState(SessionState& session);

} // namespace Velquor::WebServices::Internal
