#include "Facade/WebServicesManagerImp.h"

#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Platform/ProcessEnd.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QMutexLocker>
#include <QReadLocker>
#include <QScopeGuard>
#include <QThread>
#include <QWriteLocker>
#include <mutex>
#include <utility>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

// The limit of every wait for another thread.
constexpr int startTimeoutMs = 61000;
constexpr int longestWaitForCallsMs = 500;

/// Forwards the operations of `IWebServicesManager` to the facade. Thread: any. Owner: the singleton.
class WebServicesManagerRuntime : public IWebServicesManager {
public:
    explicit WebServicesManagerRuntime(WebServicesManager& manager)
        : m_manager(manager) {}

    int GetUserName(wchar_t* buffer, int size) override { return m_manager.GetUserName(buffer, size); }
    unsigned int GetLoginExpiryDate() override { return m_manager.GetLoginExpiryDate(); }

private:
    WebServicesManager& m_manager;
};

void endWithApplication() {
    WebServicesManagerImp::instance().endWithApplication();
}

// Qt makes the store of its contended read-write locks when the first lock is contended. The store must outlive our threads, so
// it is made before the end of the process is watched.
void makeStoreOfLocks() {
    QReadWriteLock contended;
    const QReadLocker reader(&contended);
    (void)contended.tryLockForWrite(1);
}

void watchEnds() {
    // Once in the list, also after a second start.
    qRemovePostRoutine(&endWithApplication);
    qAddPostRoutine(&endWithApplication);
    static std::once_flag once;
    std::call_once(once, [] {
        makeStoreOfLocks();
        Util::callAtProcessEnd([] { WebServicesManagerImp::instance().endWithProcess(); });
    });
}

} // namespace

WebServicesManagerImp& WebServicesManagerImp::instance() {
    // Never destroyed: hosts call it from the destructors of their static objects.
    static auto* const singleton = new WebServicesManagerImp;
    return *singleton;
}

bool WebServicesManagerImp::initialize(const QVector<OAuth2TokenSpec>& oauth2Specs) {
    {
        const QMutexLocker lock(&m_countMutex);
        waitForStart();
        if (++m_count >= 2 && !std::exchange(m_hasEnded, false))
            return true;
        m_starter = std::this_thread::get_id();
    }
    // A start-up that throws must not count: the next call would otherwise skip the start-up and succeed without a session.
    int counted = 0;
    const auto end = qScopeGuard([this, &counted] { endStart(counted); });
    const StartedLibrary started = startLibrary(defaultClientKey(), oauth2Specs);
    watchEnds();
    const QWriteLocker lock(&m_stateLock);
    m_library = started;
    counted = 1;
    return true;
}

void WebServicesManagerImp::waitForStart() {
    const QDeadlineTimer limit(startTimeoutMs);
    // A call inside the start-up, for instance from the host's message handler, must not wait for itself.
    while (m_starter != std::thread::id() && m_starter != std::this_thread::get_id()) {
        if (!m_startEnded.wait(&m_countMutex, limit))
            return;
    }
}

void WebServicesManagerImp::endStart(int counted) {
    const QMutexLocker lock(&m_countMutex);
    // The start-up itself is counted already.
    m_count += counted - 1;
    m_starter = {};
    m_startEnded.wakeAll();
}

bool WebServicesManagerImp::uninitialize() {
    if (isEnding())
        return true;
    {
        const QMutexLocker lock(&m_countMutex);
        // What is still starting could not be stopped.
        waitForStart();
        if (m_count > 0)
            --m_count;
        if (m_count > 0)
            return true;
        m_hasEnded = false;
    }
    StartedLibrary library;
    {
        const QWriteLocker lock(&m_stateLock);
        std::swap(library, m_library);
    }
    // Without the lock: the workers and observers that it waits for may ask for the session.
    stopLibrary(std::move(library));
    return true;
}

StartedLibrary WebServicesManagerImp::library() const {
    const QReadLocker lock(&m_stateLock);
    return m_library;
}

void WebServicesManagerImp::endWithApplication() {
    const StartedLibrary ending = library();
    if (!ending.session)
        return;
    Log::rootLogger().information(QStringLiteral("The application object is destroyed. Web Services end with it."));
    {
        const QMutexLocker lock(&m_countMutex);
        m_hasEnded = true;
    }
    stopLibrary(ending);
}

void WebServicesManagerImp::endWithProcess() {
    if (StartedLibrary ending = library(); ending.session) {
        m_isProcessEnding = true;
        stopLibrary(ending);
        const std::weak_ptr<LoginSession> session = std::exchange(ending, {}).session;
        // The calls of other threads. Each fails soon, but not one that waits for the host.
        const QDeadlineTimer deadline(longestWaitForCallsMs);
        while (session.use_count() > 1 && !deadline.hasExpired())
            QThread::msleep(1);
    }
    Log::endLog(Log::LogEnd::WhenNobodyWrites);
}

bool WebServicesManagerImp::isInitialized() {
    const QMutexLocker lock(&m_countMutex);
    return m_count > 0;
}

bool WebServicesManagerImp::isEnding() const {
    return m_isProcessEnding || Util::isForkedChild();
}

bool WebServicesManagerImp::hasSession() const {
    if (isEnding())
        return true;
    const QReadLocker lock(&m_stateLock);
    return m_library.session != nullptr;
}

std::shared_ptr<LoginSession> WebServicesManagerImp::session() const {
    if (isEnding())
        return nullptr;
    const QReadLocker lock(&m_stateLock);
    return m_library.session;
}

std::shared_ptr<Util::ProcessState> WebServicesManagerImp::processState() const {
    const QReadLocker lock(&m_stateLock);
    return m_library.processState;
}

bool WebServicesManagerImp::hasLogConfiguration() const {
    const QReadLocker lock(&m_stateLock);
    return m_library.hasLogConfiguration;
}

IWebServicesManager* WebServicesManagerImp::runtimeObject() {
    if (isEnding())
        return m_runtimeObject.get();
    const QWriteLocker lock(&m_stateLock);
    if (!m_library.session)
        return nullptr;
    if (!m_runtimeObject)
        m_runtimeObject = std::make_unique<WebServicesManagerRuntime>(m_manager);
    return m_runtimeObject.get();
}

QString WebServicesManagerImp::defaultClientKey() {
    static const QString key = QString::number(QCoreApplication::applicationPid());
    return key;
}

} // namespace Velquor::WebServices
