#pragma once

#include <functional>
#include <mutex>

namespace Velquor::Util {

/// Tells a host without an event loop of Qt that something waits for its main thread, so that it need not look all the time.
///
/// Thread: any. Owner: the process; never destroyed. Code that posts to the main thread calls `wake` afterwards.
class HostWake {
public:
    static HostWake& instance();

    /// Called on any thread, once until the next `rearm`. It may not call the library. Null ends that; no call runs after the
    /// return.
    void set(std::function<void()> call);
    void wake();
    /// Before the host delivers what waits.
    void rearm();

private:
    HostWake() = default;

    std::mutex m_mutex;
    std::function<void()> m_call;
    bool m_isAwake = false;
};

} // namespace Velquor::Util
