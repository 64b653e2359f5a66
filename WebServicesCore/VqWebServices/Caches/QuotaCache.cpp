#include "Caches/QuotaCache.h"

namespace Velquor::WebServices::Internal {

QuotaCache::QuotaCache(const CacheDependencies& parts)
    : ReplyCache(parts, parts.views->quota, QStringLiteral("Storage Quota"), QStringLiteral("/WebServicesCache/StorageQuota/")) {}

QUrl QuotaCache::GetUrlOverride() {
    return imp().endPoint(QStringLiteral("StorageApiUrl"), QStringLiteral("StorageUsageEndPoint"));
}

QString QuotaCache::GetCacheInfoForLog() {
    const std::shared_ptr<const StorageQuota> quota = reply();
    return quota ? QStringLiteral("Storage Quota: Total quota: %1, Used: %2").arg(quota->total).arg(quota->used) : QString();
}

} // namespace Velquor::WebServices::Internal
