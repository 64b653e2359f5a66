#pragma once

#include "VqLog/PrefixedLogger.h"

#include <QStringList>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The loggers of the library's parts. The log configuration sets the level of each. A plain value.
struct Loggers {
    using Logger = std::shared_ptr<Log::ILogger>;

    Logger session;         ///< The login session and its file, clients, sign-in and sign-out.
    Logger product;         ///< The session of one product and its token operations.
    Logger fetcher;         ///< Queries of access tokens.
    Logger refresher;       ///< Refreshes of access tokens.
    Logger lock;            ///< The locks that operations take.
    Logger oauth2;          ///< OAuth2 sessions.
    Logger oauth2Fetcher;   ///< Queries of OAuth2 tokens.
    Logger oauth2Refresher; ///< Refreshes of OAuth2 tokens and their retry schedules.
    Logger cache;           ///< Cached replies.
    Logger network;         ///< Requests and replies.
    Logger timeService;
    Logger ipc; ///< Messages and shared state between processes.

    /// The library's own loggers, by name.
    [[nodiscard]] static Loggers named();
    /// The same logger for all parts.
    [[nodiscard]] static Loggers all(const Logger& logger);
    /// Loggers that write an object's prefix in front of each text.
    [[nodiscard]] Loggers withPrefix(const std::shared_ptr<const Log::LogPrefix>& prefix) const;

    /// The names of all loggers, the library's root logger first.
    [[nodiscard]] static QStringList names();
};

} // namespace Velquor::WebServices::Internal
