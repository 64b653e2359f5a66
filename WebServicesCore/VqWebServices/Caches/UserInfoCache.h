#pragma once

#include "Caches/ReplyCache.h"

namespace Velquor::WebServices::Internal {

/// The profile of the signed-in user.
///
/// Thread, owner and errors: as of `Cache`.
class UserInfoCache : public ReplyCache<UserInfo> {
public:
    explicit UserInfoCache(const CacheDependencies& parts);

protected:
    QUrl GetUrlOverride() override;
    QString GetCacheInfoForLog() override;
};

} // namespace Velquor::WebServices::Internal
