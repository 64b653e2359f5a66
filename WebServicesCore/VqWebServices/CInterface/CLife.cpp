#include "CInterface/CLife.h"

#include "CInterface/CEventBridge.h"
#include "CInterface/COwnThread.h"
#include "CInterface/CRegistration.h"
#include "VqUtil/Threads/HostWake.h"

#include <QThread>

namespace Velquor::WebServices::Internal {

namespace {

/// A report on the library's own thread, where the caller's is not: nothing may go to the standard output there either.
struct OwnReport {
    OwnReport() {
        if (!Log::CallReport::isActive())
            own.emplace();
    }
    std::optional<Log::CallReport> own;
};

// On the event thread.
bool startCore(const QVector<OAuth2TokenSpec>& specs) {
    const OwnReport report;
    WebServicesManagerImp& core = WebServicesManagerImp::instance();
    if (!guarded("Initialize", false, [&] { return core.initialize(specs); }))
        return false;
    const auto session = core.session();
    if (session)
        CEventBridge::instance().join(session);
    else
        (void)core.uninitialize();
    return session != nullptr;
}

void stopCore() {
    const OwnReport report;
    CEventBridge::instance().leave();
    (void)guarded("Uninitialize", false, [] { return WebServicesManagerImp::instance().uninitialize(); });
    CRegistrations::instance().endEvents();
}

} // namespace

CLife& CLife::instance() {
    static auto* const life = new CLife;
    return *life;
}

int32_t CLife::waitForRest(std::unique_lock<std::mutex>& lock) {
    // The thread that starts or stops the library may run the host's code meanwhile, and must not wait for itself. Nor may the
    // library's own thread, which the other one waits for.
    if (m_phase == Phase::Changing && (m_changer == std::this_thread::get_id() || COwnThread::instance().isCurrent()))
        return VQWS_BUSY;
    m_changed.wait(lock, [this] { return m_phase != Phase::Changing; });
    return VQWS_OK;
}

int32_t CLife::initialize(const std::optional<Options>& options) {
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (const int32_t busy = waitForRest(lock))
            return busy;
        if (m_phase == Phase::Running) {
            if (options && options->mode != m_mode)
                return VQWS_STATE;
            ++m_count;
            return VQWS_OK;
        }
        m_phase = Phase::Changing;
        m_changer = std::this_thread::get_id();
    }
    const int32_t result = start(options.value_or(Options()));
    setPhase(result == VQWS_OK ? Phase::Running : Phase::Idle);
    return result;
}

int32_t CLife::start(const Options& options) {
    m_mode = options.mode;
    m_eventThread = std::this_thread::get_id();
    const auto work = [&] { return startCore(options.specs); };
    if (m_mode == VQWS_MODE_OWN) {
        if (COwnThread::instance().isHostsTurn())
            return VQWS_STATE;
        return COwnThread::instance().start(work) ? VQWS_OK : VQWS_FAILED;
    }
    if (options.wake)
        Util::HostWake::instance().set([options] { options.wake(options.wakeUser); });
    const bool isStarted = work();
    if (!isStarted)
        Util::HostWake::instance().set(nullptr);
    return isStarted ? VQWS_OK : VQWS_FAILED;
}

void CLife::setPhase(Phase phase) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_phase = phase;
    m_count = phase == Phase::Running ? 1 : 0;
    m_changer = {};
    m_changed.notify_all();
}

int32_t CLife::uninitialize() {
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (const int32_t busy = waitForRest(lock))
            return busy;
        if (m_count == 0)
            return VQWS_STATE;
        if (m_count > 1) {
            --m_count;
            return VQWS_OK;
        }
        if (m_mode == VQWS_MODE_HOST && m_eventThread != std::this_thread::get_id())
            return VQWS_WRONG_THREAD;
        m_phase = Phase::Changing;
        m_changer = std::this_thread::get_id();
    }
    stop();
    setPhase(Phase::Idle);
    return VQWS_OK;
}

void CLife::stop() {
    if (m_mode == VQWS_MODE_OWN)
        return COwnThread::instance().stop(&stopCore);
    stopCore();
    Util::HostWake::instance().set(nullptr);
}

bool CLife::isRunning() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_phase == Phase::Running;
}

int32_t CLife::dispatch() {
    if (!isRunning())
        return VQWS_STATE;
    const auto session = WebServicesManagerImp::instance().session();
    if (!session)
        return VQWS_STATE;
    if (session->thread() != QThread::currentThread() || COwnThread::instance().isCurrent())
        return VQWS_WRONG_THREAD;
    // Before: what comes during the delivery may miss it.
    Util::HostWake::instance().rearm();
    return WebServicesManager::DispatchEvent() ? VQWS_OK : VQWS_FAILED;
}

} // namespace Velquor::WebServices::Internal
