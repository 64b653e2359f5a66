#pragma once

#include "Caches/ReplyCache.h"

namespace Velquor::WebServices::Internal {

/// How much of the signed-in user's cloud storage is used.
///
/// Thread, owner and errors: as of `Cache`.
class QuotaCache : public ReplyCache<StorageQuota> {
public:
    explicit QuotaCache(const CacheDependencies& parts);

protected:
    QUrl GetUrlOverride() override;
    QString GetCacheInfoForLog() override;
};

} // namespace Velquor::WebServices::Internal
