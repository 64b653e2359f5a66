#pragma once

#include "Caches/CacheStore.h"

#include <QMutex>

namespace Velquor::WebServices::Internal {

/// The caches of one product for other threads, until the product's token operations thread is asked to end.
///
/// Thread: any. Owner: the token operations. A waiting caller holds no lock. Errors: null results; the caches log.
class CacheClient {
public:
    /// `productId` replaces the consumer key in the cache file; `refreshes` is busy while the access token is being refreshed.
    CacheClient(ITokenOwner& owner, std::shared_ptr<RunState> refreshes, const QString& productId);

    /// The owner moves it to its thread and deletes it there.
    [[nodiscard]] CacheStore* store() const { return m_store; }

    /// After this no cache can be reached, writes its file or emits signals. Call it before the thread is asked to end.
    void close();

    [[nodiscard]] bool isEnabled(CacheType type) const;
    [[nodiscard]] bool isAvailable(CacheType type) const;
    void EnableCache(CacheType type, bool enable);
    void InvalidateCache(CacheType type);
    void DeleteCache(CacheType type);
    /// Discards all values: another user has signed in.
    void invalidateAll();

    using Event = void (CacheStore::*)();
    /// Posts an event of the sign-in to the caches.
    void post(Event event);

    /// The present value; null without one. With `mayWait` a missing value is requested, and awaited in a local event loop.
    [[nodiscard]] std::shared_ptr<const UserInfo> userInfo(bool mayWait);
    [[nodiscard]] std::shared_ptr<const Entitlements> entitlements(bool mayWait);
    [[nodiscard]] std::shared_ptr<const StorageQuota> quota(bool mayWait);

private:
    template <class T>
    [[nodiscard]] std::shared_ptr<const T> value(ReplyView<T>& view, CacheType type, bool mayWait);
    void updateAndWait(CacheView& view, CacheType type);
    /// False when the cache is gone. The run of its updates must have been entered.
    [[nodiscard]] bool postUpdate(CacheType type);
    [[nodiscard]] CacheView* view(CacheType type) const;

    ITokenOwner& m_owner;
    const std::shared_ptr<CacheViews> m_views;
    CacheStore* const m_store;
    mutable QMutex m_mutex;
    bool m_isOpen = true;
};

} // namespace Velquor::WebServices::Internal
