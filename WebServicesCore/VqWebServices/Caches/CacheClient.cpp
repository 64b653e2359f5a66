#include "Caches/CacheClient.h"

#include <QMutexLocker>
#include <QThread>
#include <VqWebServices/Cache.h>

namespace Velquor::WebServices::Internal {

namespace {
// Beyond the time limit of the request: the token operations thread may be busy when the update is posted.
constexpr int graceMs = 2000;
} // namespace

CacheClient::CacheClient(ITokenOwner& owner, std::shared_ptr<RunState> refreshes, const QString& productId)
    : m_owner(owner)
    , m_views(std::make_shared<CacheViews>())
    , m_store(new CacheStore(
          {owner, std::move(refreshes), std::make_shared<CacheFile>(owner.services().cacheFile, productId), m_views})) {
    m_store->ConfigurationSet();
}

void CacheClient::close() {
    // First the flags: an update in progress does not save any more when it sees them.
    m_views->userInfo.isClosed = true;
    m_views->entitlements.isClosed = true;
    m_views->quota.isClosed = true;
    const QMutexLocker lock(&m_mutex);
    m_isOpen = false;
}

CacheView* CacheClient::view(CacheType type) const {
    switch (type) {
    case CacheType::UserInfo: return &m_views->userInfo;
    case CacheType::StorageQuota: return &m_views->quota;
    case CacheType::Entitlement: return &m_views->entitlements;
    }
    return nullptr;
}

bool CacheClient::isEnabled(CacheType type) const {
    const CacheView* const seen = view(type);
    return seen && seen->isEnabled;
}

bool CacheClient::isAvailable(CacheType type) const {
    const CacheView* const seen = view(type);
    return seen && seen->isAvailable;
}

void CacheClient::EnableCache(CacheType type, bool enable) {
    const QMutexLocker lock(&m_mutex);
    CacheView* const seen = view(type);
    if (!m_isOpen || !seen || seen->isEnabled == enable)
        return;
    if (Cache* const cache = m_store->cache(type))
        cache->EnableCache(enable);
    else
        // The setting has switched all caches off. Remember the request, so that it is not repeated with each call.
        seen->isEnabled = enable;
}

void CacheClient::InvalidateCache(CacheType type) {
    const QMutexLocker lock(&m_mutex);
    if (m_isOpen)
        m_store->InvalidateCache(type);
}

void CacheClient::DeleteCache(CacheType type) {
    const QMutexLocker lock(&m_mutex);
    if (m_isOpen)
        m_store->DeleteCache(type);
}

void CacheClient::invalidateAll() {
    const QMutexLocker lock(&m_mutex);
    for (const CacheType type : cacheTypes) {
        if (Cache* const cache = m_isOpen ? m_store->cache(type) : nullptr)
            cache->InvalidateCache();
    }
}

void CacheClient::post(Event event) {
    const QMutexLocker lock(&m_mutex);
    if (m_isOpen)
        QMetaObject::invokeMethod(
            m_store, [store = m_store, event] { (store->*event)(); }, Qt::QueuedConnection);
}

bool CacheClient::postUpdate(CacheType type) {
    const QMutexLocker lock(&m_mutex);
    CacheImp* const imp = m_isOpen ? m_store->imp(type) : nullptr;
    if (!imp)
        return false;
    imp->log().information(QStringLiteral("Cache requested, but not available. Initiating synchronous cache update."));
    return QMetaObject::invokeMethod(imp, &CacheImp::UpdateNowSlot, Qt::QueuedConnection);
}

void CacheClient::updateAndWait(CacheView& view, CacheType type) {
    // Before the update starts, or its end could be missed.
    RunWaiter waiter(view.updates);
    const RunState::Entry entry = view.updates->enter();
    if (entry == RunState::Entry::Closed)
        return;
    if (entry == RunState::Entry::Entered && !postUpdate(type))
        return view.updates->leave(0);
    const CacheLog log(cacheTypeName(type), m_owner.services().loggers.cache);
    log.information(QStringLiteral("Waiting for update to finish"));
    const RunWaiter::Outcome outcome = waiter.wait(m_owner.services().tokenTimeoutMs + graceMs);
    if (outcome.isTimedOut)
        log.error(QStringLiteral("The update did not finish in time"));
    else
        log.information(QStringLiteral("Finished waiting for update to finish"));
}

template <class T>
std::shared_ptr<const T> CacheClient::value(ReplyView<T>& view, CacheType type, bool mayWait) {
    if (!view.isAvailable && mayWait && !view.isClosed)
        updateAndWait(view, type);
    return view.isAvailable && !view.isClosed ? view.reply.get() : nullptr;
}

std::shared_ptr<const UserInfo> CacheClient::userInfo(bool mayWait) {
    return value(m_views->userInfo, CacheType::UserInfo, mayWait);
}

std::shared_ptr<const Entitlements> CacheClient::entitlements(bool mayWait) {
    return value(m_views->entitlements, CacheType::Entitlement, mayWait);
}

std::shared_ptr<const StorageQuota> CacheClient::quota(bool mayWait) {
    return value(m_views->quota, CacheType::StorageQuota, mayWait);
}

} // namespace Velquor::WebServices::Internal
