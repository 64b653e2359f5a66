#pragma once

#include "CInterface/CText.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace Velquor::WebServices::Internal {

/// The users of the library that came through the C interface. Together they are one user of the core.
///
/// Thread: any. Owner: the process; never destroyed. No lock is held while the core starts or stops. Errors: results of the
/// interface.
class CLife {
public:
    /// How the first call starts the library.
    struct Options {
        int32_t mode = VQWS_MODE_HOST;
        QVector<OAuth2TokenSpec> specs;
        vqws_wake_fn wake = nullptr;
        void* wakeUser = nullptr;
    };

    static CLife& instance();

    int32_t initialize(const std::optional<Options>& options);
    int32_t uninitialize();
    /// Delivers what waits for the event thread.
    int32_t dispatch();
    [[nodiscard]] bool isRunning() const;

private:
    enum class Phase { Idle, Changing, Running };

    /// Waits for the start or stop on another thread. VQWS_BUSY inside one.
    int32_t waitForRest(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] int32_t start(const Options& options);
    void stop();
    void setPhase(Phase phase);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Phase m_phase = Phase::Idle;
    int m_count = 0;
    int32_t m_mode = VQWS_MODE_HOST;
    std::thread::id m_changer; ///< The thread that starts or stops the library.
    std::thread::id m_eventThread;
};

} // namespace Velquor::WebServices::Internal
