#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The flags by which a process tells the others that a token request of a product is under way. They are hints; what keeps two
/// requests apart is a lock.
///
/// Thread: any. Owner: the product's session. Errors: a flag that cannot be told is as if it were not set.
class IRequestFlags {
public:
    virtual ~IRequestFlags() = default;

    /// True when another living process has set the flag for the same product.
    [[nodiscard]] virtual bool isSetElsewhere(const QString& flag) = 0;
    virtual void set(const QString& flag) = 0;
    /// Both in one step among the processes: false, and nothing is set, when another living process has set it.
    [[nodiscard]] virtual bool setUnlessElsewhere(const QString& flag) = 0;
    virtual void clear(const QString& flag) = 0;
};

/// The names of the flags in the shared block.
namespace RequestFlag {
inline const auto tokenQuery = QStringLiteral("AccessTokenQueryInProgress");
inline const auto tokenRefresh = QStringLiteral("TokenRefreshInProgress");
inline const auto oauth2Query = QStringLiteral("OAuth2AccessTokenQueryInProgress"); ///< Of any kind; only shown.
inline const auto oauth2QueryOfSpec = QStringLiteral("OAuth2TokenQueryInProgress_%1");
inline const auto oauth2Refresh = QStringLiteral("OAuth2TokenRefreshInProgress");
inline const auto oauth2JwtRefresh = QStringLiteral("OAuth2TokenJwtRefreshInProgress");

/// A process that sets a flag without taking our lock is believed for as long as a request may well take. Not longer: a process
/// with several products has room for the flags of one.
constexpr qint64 patienceMs = 5000;
} // namespace RequestFlag

} // namespace Velquor::WebServices::Internal
