#pragma once

#include "Caches/ReplyCache.h"

namespace Velquor::WebServices::Internal {

/// The services that the signed-in user may use.
///
/// Thread, owner and errors: as of `Cache`.
class EntitlementCache : public ReplyCache<Entitlements> {
public:
    explicit EntitlementCache(const CacheDependencies& parts);

protected:
    QUrl GetUrlOverride() override;
    QString GetCacheInfoForLog() override;
};

} // namespace Velquor::WebServices::Internal
