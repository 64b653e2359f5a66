#include "Session/Operations/CacheAccess.h"

#include "Session/Products/TokenOperations.h"

namespace Velquor::WebServices::Internal {

CacheAccess::CacheAccess(SessionState& state)
    : m_state(state)
    , m_logger(*state.services().loggers.cache) {}

CacheClient* CacheAccess::cachesOf(const ProductSessionPointer& product) {
    TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations ? &operations->caches() : nullptr;
}

bool CacheAccess::hasProduct(const QString& clientKey) const {
    return cachesOf(m_state.product(clientKey)) != nullptr;
}

bool CacheAccess::IsCacheEnabled(const QString& clientKey, CacheType type) const {
    const ProductSessionPointer product = m_state.product(clientKey);
    return isEnabled(cachesOf(product), clientKey, type);
}

bool CacheAccess::isEnabled(const CacheClient* caches, const QString& clientKey, CacheType type) const {
    return caches ? caches->isEnabled(type) : m_state.clients().isCacheEnabled(clientKey, type);
}

void CacheAccess::EnableCache(const QString& clientKey, CacheType type, bool enable) {
    m_state.clients().enableCache(clientKey, type, enable);
    const ProductSessionPointer product = m_state.product(clientKey);
    if (CacheClient* const caches = cachesOf(product))
        caches->EnableCache(type, enable);
}

bool CacheAccess::IsCacheAvailable(const QString& clientKey, CacheType type) const {
    const ProductSessionPointer product = m_state.product(clientKey);
    const CacheClient* const caches = cachesOf(product);
    return caches && caches->isAvailable(type);
}

void CacheAccess::InvalidateCache(const QString& clientKey, CacheType type) {
    const ProductSessionPointer product = m_state.product(clientKey);
    if (CacheClient* const caches = cachesOf(product))
        caches->InvalidateCache(type);
    else
        m_logger.error(QStringLiteral("Failed to invalidate cache %1. Cache objects not yet created.").arg(cacheTypeName(type)));
}

template <class T>
std::shared_ptr<const T> CacheAccess::value(const QString& clientKey, const Request& request,
                                            std::shared_ptr<const T> (CacheClient::*read)(bool)) {
    const ProductSessionPointer product = m_state.product(clientKey);
    CacheClient* const caches = cachesOf(product);
    // Remember the choice also while nobody is signed in; the next sign-in applies it.
    if (!isEnabled(caches, clientKey, request.type)) {
        m_logger.information(request.enablingText);
        EnableCache(clientKey, request.type, true);
    }
    if (!caches)
        return {};
    // The thread that fetches the value must not wait for it.
    return (caches->*read)(!product->operations()->isTokenThread());
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
