#include "Caches/CacheStore.h"

#include "Caches/EntitlementCache.h"
#include "Caches/QuotaCache.h"
#include "Caches/UserInfoCache.h"
#include "Values/LibrarySettings.h"

#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

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
