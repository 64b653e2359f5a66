#pragma once

#include "Caches/CacheStore.h"

#include <QMutex>

namespace Velquor::WebServices::Internal {

/// The way to the caches of one product from other threads, open until the product's token operations thread is asked to end.
///
/// Thread: any. Owner: the token operations. A caller that waits holds no lock. Errors: null results; the caches log.
class CacheClient {
public:
    /// `productId` stands for the consumer key in the cache file; `refreshes` is busy while the access token is being refreshed.
    CacheClient(ITokenOwner& owner, std::shared_ptr<RunState> refreshes, const QString& productId);

    /// For whoever moves it to its thread and deletes it there.
    [[nodiscard]] CacheStore* store() const { return m_store; }

    /// No cache is reached, and none writes or tells anything, after this. To be called before the thread is asked to end.
    void close();

    [[nodiscard]] bool isEnabled(CacheType type) const;
    [[nodiscard]] bool isAvailable(CacheType type) const;
    void EnableCache(CacheType type, bool enable);
    void InvalidateCache(CacheType type);
    void DeleteCache(CacheType type);
    /// Nothing of what is known is given out any more: it is another user's.
    void invalidateAll();

    using Event = void (CacheStore::*)();
    /// Passes on what has happened to the sign-in.
    void tell(Event event);

    /// What is known; null when nothing is. With `mayWait` the web service is asked then, and waited for with a local event loop.
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
