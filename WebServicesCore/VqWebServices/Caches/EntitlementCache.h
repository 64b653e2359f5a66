#pragma once

#include "Caches/ReplyCache.h"

namespace Velquor::WebServices {

/// The services that the signed-in user may use.
///
/// Thread, owner and errors: as of `Cache`.
class EntitlementCache : public ReplyCache<Entitlements> {
public:
    explicit EntitlementCache(const CacheParts& parts);

protected:
    QUrl GetUrlOverride() override;
    QString GetCacheInfoForLog() override;
};

} // namespace Velquor::WebServices
