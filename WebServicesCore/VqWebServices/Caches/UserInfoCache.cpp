#include "Caches/UserInfoCache.h"

#include <QUrlQuery>

namespace Velquor::WebServices::Internal {

UserInfoCache::UserInfoCache(const CacheDependencies& parts)
    : ReplyCache(parts, parts.views->userInfo, QStringLiteral("User Info"), QStringLiteral("/WebServicesCache/UserInfo/")) {}

QUrl UserInfoCache::GetUrlOverride() {
    QUrl url = imp().endPoint(QStringLiteral("AccountServerUrl"), QStringLiteral("IdentityAccountFolderEndPoint"));
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("format"), QStringLiteral("xml"));
    url.setQuery(query);
    return url;
}

QString UserInfoCache::GetCacheInfoForLog() {
    const std::shared_ptr<const UserInfo> info = reply();
    return info ? QStringLiteral("User Info: User name: %1, Id: %2, Email: %3, First name: %4, Last name: %5")
                      .arg(info->userName, info->id, info->email, info->firstName, info->lastName)
                : QString();
}

} // namespace Velquor::WebServices::Internal
