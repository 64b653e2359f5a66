#pragma once

#include "Caches/CacheClient.h"
#include "Session/Core/SessionState.h"

namespace Velquor::WebServices::Internal {

/// The clients' operations with cached replies of the web services.
///
/// Thread: any; waits with no lock held, and only while nothing is known. Owner: its user's stack. Errors: a null or false
/// result.
class CacheAccess {
public:
    explicit CacheAccess(SessionState& state);

    /// The product of the client is signed in.
    [[nodiscard]] bool hasProduct(const QString& clientKey) const;

    /// What the client has chosen; the choice outlives the sign-in.
    [[nodiscard]] bool IsCacheEnabled(const QString& clientKey, CacheType type) const;
    void EnableCache(const QString& clientKey, CacheType type, bool enable);
    [[nodiscard]] bool IsCacheAvailable(const QString& clientKey, CacheType type) const;
    void InvalidateCache(const QString& clientKey, CacheType type);

    // These switch their cache on.
    [[nodiscard]] std::shared_ptr<const UserInfo> userInfo(const QString& clientKey);
    [[nodiscard]] std::shared_ptr<const Entitlements> entitlements(const QString& clientKey);
    [[nodiscard]] std::shared_ptr<const StorageQuota> quota(const QString& clientKey);

private:
    struct Request {
        CacheType type;
        QString enablingText;
    };
    template <class T>
    [[nodiscard]] std::shared_ptr<const T> value(const QString& clientKey, const Request& request,
                                                 std::shared_ptr<const T> (CacheClient::*read)(bool));
    /// Null when the client has no product that is signed in. The product keeps it alive.
    [[nodiscard]] static CacheClient* cachesOf(const ProductSessionPointer& product);
    [[nodiscard]] bool isEnabled(const CacheClient* caches, const QString& clientKey, CacheType type) const;

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
