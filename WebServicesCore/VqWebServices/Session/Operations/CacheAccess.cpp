#include "Session/Operations/CacheAccess.h"

#include "Session/Products/TokenOperations.h"

namespace Velquor::WebServices::Internal {

CacheAccess::CacheAccess(SessionState& state)
    : m_state(state)
    , m_logger(*state.services.loggers.cache) {}

CacheClient* CacheAccess::doorOf(const ProductSessionPointer& product) {
    TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations ? &operations->caches() : nullptr;
}

bool CacheAccess::hasProduct(const QString& clientKey) const {
    return doorOf(m_state.product(clientKey)) != nullptr;
}

bool CacheAccess::IsCacheEnabled(const QString& clientKey, CacheType type) const {
    const ProductSessionPointer product = m_state.product(clientKey);
    return isEnabled(doorOf(product), clientKey, type);
}

bool CacheAccess::isEnabled(const CacheClient* door, const QString& clientKey, CacheType type) const {
    return door ? door->isEnabled(type) : m_state.clients.isCacheEnabled(clientKey, type);
}

void CacheAccess::EnableCache(const QString& clientKey, CacheType type, bool enable) {
    m_state.clients.enableCache(clientKey, type, enable);
    const ProductSessionPointer product = m_state.product(clientKey);
    if (CacheClient* const door = doorOf(product))
        door->EnableCache(type, enable);
}

bool CacheAccess::IsCacheAvailable(const QString& clientKey, CacheType type) const {
    const ProductSessionPointer product = m_state.product(clientKey);
    const CacheClient* const door = doorOf(product);
    return door && door->isAvailable(type);
}

void CacheAccess::InvalidateCache(const QString& clientKey, CacheType type) {
    const ProductSessionPointer product = m_state.product(clientKey);
    if (CacheClient* const door = doorOf(product))
        door->InvalidateCache(type);
    else
        m_logger.error(QStringLiteral("Failed to invalidate cache %1. Cache objects not yet created.").arg(cacheTypeName(type)));
}

template <class T>
std::shared_ptr<const T> CacheAccess::value(const QString& clientKey, const Request& request,
                                            std::shared_ptr<const T> (CacheClient::*read)(bool)) {
    const ProductSessionPointer product = m_state.product(clientKey);
    CacheClient* const door = doorOf(product);
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

std::shared_ptr<const UserInfo> CacheAccess::userInfo(const QString& clientKey) {
    return value(clientKey, {CacheType::UserInfo, QStringLiteral("User info requested, but cache is not enabled. Enabling it.")},
                 &CacheClient::userInfo);
}

std::shared_ptr<const Entitlements> CacheAccess::entitlements(const QString& clientKey) {
    return value(clientKey,
                 {CacheType::Entitlement, QStringLiteral("Entitlement info requested, but cache is not enabled. Enabling it.")},
                 &CacheClient::entitlements);
}

std::shared_ptr<const StorageQuota> CacheAccess::quota(const QString& clientKey) {
    return value(
        clientKey,
        {CacheType::StorageQuota, QStringLiteral("Cloud storage quota requested, but cache is not enabled. Enabling it.")},
        &CacheClient::quota);
}

} // namespace Velquor::WebServices::Internal
