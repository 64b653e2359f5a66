#include "Session/Operations/CacheAccess.h"

#include "Session/Products/TokenOperations.h"

namespace Velquor::WebServices {

CacheOperations::CacheOperations(SessionCore& core)
    : m_core(core)
    , m_logger(*core.services.loggers.cache) {}

CacheDoor* CacheOperations::doorOf(const ProductSessionPointer& product) {
    TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations ? &operations->caches() : nullptr;
}

bool CacheOperations::hasProduct(const QString& clientKey) const {
    return doorOf(m_core.product(clientKey)) != nullptr;
}

bool CacheOperations::IsCacheEnabled(const QString& clientKey, CacheType type) const {
    const ProductSessionPointer product = m_core.product(clientKey);
    return isEnabled(doorOf(product), clientKey, type);
}

bool CacheOperations::isEnabled(const CacheDoor* door, const QString& clientKey, CacheType type) const {
    return door ? door->isEnabled(type) : m_core.clients.isCacheEnabled(clientKey, type);
}

void CacheOperations::EnableCache(const QString& clientKey, CacheType type, bool enable) {
    m_core.clients.enableCache(clientKey, type, enable);
    const ProductSessionPointer product = m_core.product(clientKey);
    if (CacheDoor* const door = doorOf(product))
        door->EnableCache(type, enable);
}

bool CacheOperations::IsCacheAvailable(const QString& clientKey, CacheType type) const {
    const ProductSessionPointer product = m_core.product(clientKey);
    const CacheDoor* const door = doorOf(product);
    return door && door->isAvailable(type);
}

void CacheOperations::InvalidateCache(const QString& clientKey, CacheType type) {
    const ProductSessionPointer product = m_core.product(clientKey);
    if (CacheDoor* const door = doorOf(product))
        door->InvalidateCache(type);
    else
        m_logger.error(QStringLiteral("Failed to invalidate cache %1. Cache objects not yet created.").arg(cacheTypeName(type)));
}

template <class T>
std::shared_ptr<const T> CacheOperations::value(const QString& clientKey, const Request& request,
                                                std::shared_ptr<const T> (CacheDoor::*read)(bool)) {
    const ProductSessionPointer product = m_core.product(clientKey);
    CacheDoor* const door = doorOf(product);
    // Also while nobody is signed in: the next sign-in finds the wish.
    if (!isEnabled(door, clientKey, request.type)) {
        m_logger.information(request.enablingText);
        EnableCache(clientKey, request.type, true);
    }
    if (!door)
        return {};
    // A value is not waited for on the thread that brings it.
    return (door->*read)(!product->operations()->isTokenThread());
}

std::shared_ptr<const UserInfo> CacheOperations::userInfo(const QString& clientKey) {
    return value(clientKey, {CacheType::UserInfo, QStringLiteral("User info requested, but cache is not enabled. Enabling it.")},
                 &CacheDoor::userInfo);
}

std::shared_ptr<const Entitlements> CacheOperations::entitlements(const QString& clientKey) {
    return value(clientKey,
                 {CacheType::Entitlement, QStringLiteral("Entitlement info requested, but cache is not enabled. Enabling it.")},
                 &CacheDoor::entitlements);
}

std::shared_ptr<const StorageQuota> CacheOperations::quota(const QString& clientKey) {
    return value(
        clientKey,
        {CacheType::StorageQuota, QStringLiteral("Cloud storage quota requested, but cache is not enabled. Enabling it.")},
        &CacheDoor::quota);
}

} // namespace Velquor::WebServices
