#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The flags that show other processes that a token request of a product is in progress. They are hints; a lock keeps two
/// requests apart.
///
/// Thread: any. Owner: the product's session. Errors: a flag that cannot be read counts as not set.
class IRequestFlags {
public:
    virtual ~IRequestFlags() = default;

    /// True when another living process has set the flag for the same product.
    [[nodiscard]] virtual bool isSetElsewhere(const QString& flag) = 0;
    virtual void set(const QString& flag) = 0;
    /// Query and set in one step among the processes. False, and nothing is set, when another living process has set the flag.
    [[nodiscard]] virtual bool setUnlessElsewhere(const QString& flag) = 0;
    virtual void clear(const QString& flag) = 0;
};

/// The names of the flags in the shared block.
namespace RequestFlag {
inline const auto tokenQuery = QStringLiteral("AccessTokenQueryInProgress");
inline const auto tokenRefresh = QStringLiteral("TokenRefreshInProgress");
inline const auto oauth2Query =
    QStringLiteral("OAuth2AccessTokenQueryInProgress"); ///< Of any kind; shown to others, never tested here.
inline const auto oauth2QueryOfSpec = QStringLiteral("OAuth2TokenQueryInProgress_%1");
inline const auto oauth2Refresh = QStringLiteral("OAuth2TokenRefreshInProgress");
inline const auto oauth2JwtRefresh = QStringLiteral("OAuth2TokenJwtRefreshInProgress");

/// How long a flag without our lock counts: the time that a request may take. Not longer, since the shared block holds the flags
/// of one product per process, and a flag may be left over.
constexpr qint64 patienceMs = 5000;
} // namespace RequestFlag

} // namespace Velquor::WebServices::Internal
