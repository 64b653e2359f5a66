#include "Facade/WebServicesManagerImp.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QMutexLocker>
#include <QReadLocker>
#include <QScopeGuard>
#include <QWriteLocker>
#include <utility>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

// The limit of every wait for another thread.
constexpr int startTimeoutMs = 61000;

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
        if (++m_count >= 2)
            return true;
        m_starter = std::this_thread::get_id();
    }
    // A start-up that throws must not count: the next call would otherwise skip the start-up and succeed without a session.
    int counted = 0;
    const auto end = qScopeGuard([this, &counted] { endStart(counted); });
    const StartedLibrary started = startLibrary(defaultClientKey(), oauth2Specs);
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
    {
        const QMutexLocker lock(&m_countMutex);
        // What is still starting could not be stopped.
        waitForStart();
        if (m_count > 0)
            --m_count;
        if (m_count > 0)
            return true;
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

bool WebServicesManagerImp::isInitialized() {
    const QMutexLocker lock(&m_countMutex);
    return m_count > 0;
}

std::shared_ptr<LoginSession> WebServicesManagerImp::session() const {
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
