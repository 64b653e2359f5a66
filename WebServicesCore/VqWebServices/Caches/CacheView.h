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

/// The state of one cache for other threads. It outlives the cache.
///
/// Thread: any. Owner: shared by the cache and its readers.
struct CacheView {
    std::atomic<bool> isEnabled{false};
    std::atomic<bool> isAvailable{false};
    /// Set once, when the sign-in ends: after that nothing is written to the file and no signal is emitted.
    std::atomic<bool> isClosed{false};
    /// Busy from the request for an update to its end; the result is 1 when there is a value.
    const std::shared_ptr<RunState> updates = std::make_shared<RunState>();
};

/// A parsed reply that is replaced as a whole, so a reader never sees parts of two. A read-write lock, since many threads that
/// share one mutex would wake each other one by one. Thread: any.
template <class T>
class Published {
public:
    [[nodiscard]] std::shared_ptr<const T> get() const {
        const QReadLocker lock(&m_lock);
        return m_value;
    }
    void set(std::shared_ptr<const T> value) {
        // Swapped, so that the old value is freed after the lock is released.
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
