#include "Caches/EntitlementCache.h"

#include <QUrlQuery>

namespace Velquor::WebServices::Internal {

EntitlementCache::EntitlementCache(const CacheDependencies& parts)
    : ReplyCache(parts, parts.views->entitlements, QStringLiteral("Entitlement"),
                 QStringLiteral("/WebServicesCache/ServiceEntitlementEx")) {}

QUrl EntitlementCache::GetUrlOverride() {
    QUrl url = imp().endPoint(QStringLiteral("AccountServerUrl"), QStringLiteral("IdentityEntitlementEndPoint"));
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("format"), QStringLiteral("xml"));
    query.addQueryItem(QStringLiteral("services"), QStringLiteral("all"));
    query.addQueryItem(QStringLiteral("fields"), QStringLiteral("trialinfo"));
    url.setQuery(query);
    return url;
}

QString EntitlementCache::GetCacheInfoForLog() {
    const std::shared_ptr<const Entitlements> list = reply();
    return list ? QStringLiteral("Entitlement: Services: %1").arg(QStringList(list->services.keys()).join(QStringLiteral(", ")))
                : QString();
}

} // namespace Velquor::WebServices::Internal
