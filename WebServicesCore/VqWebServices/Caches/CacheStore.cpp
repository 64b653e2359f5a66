#include "Caches/CacheStore.h"

#include "Values/LibrarySettings.h"

#include <QUrlQuery>
#include <VqWebServices/Cache.h>
#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

/// What the three caches have in common: they publish their parsed reply as a whole. Thread, owner and errors: as of `Cache`.
template <class T>
class ReplyCache : public Cache {
public:
    ReplyCache(const CacheDependencies& parts, ReplyView<T>& view, const QString& name, const QString& nodePath)
        : ReplyCache(new CacheImp(parts, view, name, nodePath), view, parts.views) {}

    [[nodiscard]] CacheImp& imp() { return *m_imp; }

protected:
    void ClearCacheOverride() override { m_view.reply.set(nullptr); }
    bool ParseReplyOverride(const QByteArray& reply) override {
        std::optional<T> parsed = T::parse(reply);
        if (!parsed)
            return false;
        m_view.reply.set(std::make_shared<const T>(std::move(*parsed)));
        return true;
    }
    [[nodiscard]] std::shared_ptr<const T> reply() const { return m_view.reply.get(); }

private:
    ReplyCache(CacheImp* imp, ReplyView<T>& view, std::shared_ptr<CacheViews> views)
        : Cache(imp)
        , m_imp(imp)
        , m_views(std::move(views))
        , m_view(view) {}

    CacheImp* const m_imp;
    const std::shared_ptr<CacheViews> m_views; ///< Keeps `m_view` alive.
    ReplyView<T>& m_view;
};

/// The profile of the signed-in user.
class UserInfoCache : public ReplyCache<UserInfo> {
public:
    explicit UserInfoCache(const CacheDependencies& parts)
        : ReplyCache(parts, parts.views->userInfo, QStringLiteral("User Info"), QStringLiteral("/WebServicesCache/UserInfo/")) {}

protected:
    QUrl GetUrlOverride() override {
        QUrl url = imp().endPoint(QStringLiteral("AccountServerUrl"), QStringLiteral("IdentityAccountFolderEndPoint"));
        QUrlQuery query(url);
        query.addQueryItem(QStringLiteral("format"), QStringLiteral("xml"));
        url.setQuery(query);
        return url;
    }

    QString GetCacheInfoForLog() override {
        const std::shared_ptr<const UserInfo> info = reply();
        return info ? QStringLiteral("User Info: User name: %1, Id: %2, Email: %3, First name: %4, Last name: %5")
                          .arg(info->userName, info->id, info->email, info->firstName, info->lastName)
                    : QString();
    }
};

/// The services that the signed-in user may use.
class EntitlementCache : public ReplyCache<Entitlements> {
public:
    explicit EntitlementCache(const CacheDependencies& parts)
        : ReplyCache(parts, parts.views->entitlements, QStringLiteral("Entitlement"),
                     QStringLiteral("/WebServicesCache/ServiceEntitlementEx")) {}

protected:
    QUrl GetUrlOverride() override {
        QUrl url = imp().endPoint(QStringLiteral("AccountServerUrl"), QStringLiteral("IdentityEntitlementEndPoint"));
        QUrlQuery query(url);
        query.addQueryItem(QStringLiteral("format"), QStringLiteral("xml"));
        query.addQueryItem(QStringLiteral("services"), QStringLiteral("all"));
        query.addQueryItem(QStringLiteral("fields"), QStringLiteral("trialinfo"));
        url.setQuery(query);
        return url;
    }

    QString GetCacheInfoForLog() override {
        const std::shared_ptr<const Entitlements> list = reply();
        return list ? QStringLiteral("Entitlement: Services: %1")
                          .arg(QStringList(list->services.keys()).join(QStringLiteral(", ")))
                    : QString();
    }
};

/// How much of the signed-in user's cloud storage is used.
class QuotaCache : public ReplyCache<StorageQuota> {
public:
    explicit QuotaCache(const CacheDependencies& parts)
        : ReplyCache(parts, parts.views->quota, QStringLiteral("Storage Quota"),
                     QStringLiteral("/WebServicesCache/StorageQuota/")) {}

protected:
    QUrl GetUrlOverride() override {
        return imp().endPoint(QStringLiteral("StorageApiUrl"), QStringLiteral("StorageUsageEndPoint"));
    }

    QString GetCacheInfoForLog() override {
        const std::shared_ptr<const StorageQuota> quota = reply();
        return quota ? QStringLiteral("Storage Quota: Total quota: %1, Used: %2").arg(quota->total).arg(quota->used) : QString();
    }
};

} // namespace

QString cacheTypeName(CacheType type) {
    switch (type) {
    case CacheType::UserInfo: return QStringLiteral("User Info");
    case CacheType::StorageQuota: return QStringLiteral("Storage Quota");
    case CacheType::Entitlement: return QStringLiteral("Entitlement");
    }
    return QStringLiteral("Unknown");
}

CacheStore::CacheStore(const CacheDependencies& parts)
    : m_parts(parts)
    , m_logger(*parts.owner.services().loggers.cache) {}

CacheStore::~CacheStore() {
    ConfigurationRemoved();
}

bool CacheStore::isCachingEnabled() {
    const QString setting = librarySetting(QStringLiteral("DisableCaching"));
    return setting.isEmpty() || setting == QLatin1String("0") || setting == QLatin1String("false");
}

template <class T>
void CacheStore::add(CacheType type, T* cache) {
    cache->setParent(this);
    m_caches.append({type, cache, &cache->imp()});
}

void CacheStore::ConfigurationSet() {
    if (!m_caches.isEmpty() || !isCachingEnabled())
        return;
    m_logger.information(QStringLiteral("Creating cache objects"));
    add(CacheType::UserInfo, new UserInfoCache(m_parts));
    add(CacheType::Entitlement, new EntitlementCache(m_parts));
    add(CacheType::StorageQuota, new QuotaCache(m_parts));
    m_logger.information(QStringLiteral("Created cache objects"));
}

void CacheStore::ConfigurationRemoved() {
    if (m_caches.isEmpty())
        return;
    m_logger.information(QStringLiteral("Deleting cache objects"));
    for (const Entry& entry : std::exchange(m_caches, {}))
        delete entry.cache;
}

CacheStore::Entry CacheStore::entry(CacheType type) const {
    const auto found = std::find_if(m_caches.begin(), m_caches.end(), [type](const Entry& entry) { return entry.type == type; });
    return found == m_caches.end() ? Entry{type} : *found;
}

void CacheStore::InvalidateCache(CacheType type) {
    if (Cache* const found = cache(type))
        found->InvalidateCache();
    else
        m_logger.error(QStringLiteral("Failed to invalidate cache %1. Cache objects not yet created.").arg(cacheTypeName(type)));
}

void CacheStore::DeleteCache(CacheType type) {
    if (Cache* const found = cache(type))
        found->DeleteCache();
    else
        m_logger.error(QStringLiteral("Failed to delete cache %1. Cache objects not yet created.").arg(cacheTypeName(type)));
}

void CacheStore::abort() {
    for (const Entry& entry : std::as_const(m_caches))
        entry.imp->Abort();
}

void CacheStore::LoggedIn() {
    for (const Entry& entry : std::as_const(m_caches))
        entry.imp->LoggedIn();
}

void CacheStore::LoginRestored() {
    for (const Entry& entry : std::as_const(m_caches))
        entry.imp->LoginRestored();
}

void CacheStore::TokenAvailable() {
    for (const Entry& entry : std::as_const(m_caches))
        entry.imp->TokenAvailable();
}

void CacheStore::LoggedOut() {
    for (const Entry& entry : std::as_const(m_caches))
        entry.imp->LoggedOut();
}

void CacheStore::TokenRefreshed() {
    for (const Entry& entry : std::as_const(m_caches))
        entry.imp->TokenRefreshed();
}

} // namespace Velquor::WebServices::Internal
