#pragma once

#include "Caches/CachedReplies.h"
#include "Tokens/RunState.h"

#include <QReadLocker>
#include <QReadWriteLock>
#include <QWriteLocker>
#include <atomic>
#include <memory>
#include <utility>

namespace Velquor::WebServices::Internal {

/// What other threads may see of one cache, also when the cache is going away.
///
/// Thread: any. Owner: shared by the cache and those who look.
struct CacheView {
    std::atomic<bool> isEnabled{false};
    std::atomic<bool> isAvailable{false};
    /// Set once, when the sign-in is over: nothing is written to the file or told any more.
    std::atomic<bool> isClosed{false};
    /// Busy from the wish for an update to its end; the result is 1 when there is a value.
    const std::shared_ptr<RunState> updates = std::make_shared<RunState>();
};

/// A parsed reply that is replaced as a whole: who reads sees one reply, never parts of two. Readers do not wait for each other:
/// of many threads that share one mutex each would have to be woken by the one before it. Thread: any.
template <class T>
class Published {
public:
    [[nodiscard]] std::shared_ptr<const T> get() const {
        const QReadLocker lock(&m_lock);
        return m_value;
    }
    void set(std::shared_ptr<const T> value) {
        // The old value is freed after the lock is released.
        const QWriteLocker lock(&m_lock);
        m_value.swap(value);
    }

private:
    mutable QReadWriteLock m_lock;
    std::shared_ptr<const T> m_value;
};

/// One cache as seen from other threads, with what its reply says.
template <class T>
struct ReplyView : CacheView {
    Published<T> reply;
};

struct CacheViews {
    ReplyView<UserInfo> userInfo;
    ReplyView<Entitlements> entitlements;
    ReplyView<StorageQuota> quota;
};

} // namespace Velquor::WebServices::Internal
