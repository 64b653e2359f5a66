#include "Facade/WebServicesManagerImp.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QReadLocker>
#include <QScopeGuard>
#include <QWriteLocker>
#include <utility>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

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
        if (++m_count >= 2)
            return true;
    }
    // A start-up that throws must not count: the next call would otherwise skip the start-up and succeed without a session.
    auto giveBack = qScopeGuard([this] {
        const QMutexLocker lock(&m_countMutex);
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the analyzer loses the captured "this" where the guard is moved.
        --m_count;
    });
    const StartedLibrary started = startLibrary(defaultClientKey(), oauth2Specs);
    giveBack.dismiss();
    const QWriteLocker lock(&m_stateLock);
    m_library = started;
    return true;
}

bool WebServicesManagerImp::uninitialize() {
    {
        const QMutexLocker lock(&m_countMutex);
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
    return QString::number(QCoreApplication::applicationPid());
}

} // namespace Velquor::WebServices
