#pragma once

#include "Runtime/Startup.h"

#include <QMutex>
#include <QReadWriteLock>
#include <QWaitCondition>
#include <VqWebServices/IWebServicesManager.h>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesManagerEx.h>
#include <atomic>
#include <memory>
#include <thread>

namespace Velquor::WebServices {

/// The singleton of the library. It is the keyed facade itself and owns the facade of the default client, the object of
/// `GetIWebServicesManager`, and what the start-up creates.
///
/// The facade objects exist as long as the process. So a host that still uses its pointer after the last `Uninitialize` gets
/// failure results and does not access freed memory. The session is created by the first `Initialize`. The last `Uninitialize`
/// stops and releases it; it is destroyed when no call uses it any more. Thread: any. Owner: the process.
class WebServicesManagerImp : public WebServicesManagerEx {
public:
    static WebServicesManagerImp& instance();

    /// Both count the calls. The first `initialize` runs the start-up, the last `uninitialize` the shut-down. A start-up that
    /// throws is not counted. A call while another thread runs the start-up waits for its end, at most 61 seconds.
    bool initialize(const QVector<OAuth2TokenSpec>& oauth2Specs);
    bool uninitialize();
    [[nodiscard]] bool isInitialized();

    /// Ends the work of the library before the host says so: the application object goes, or the process. Its threads need the
    /// one and must not outlive the other. Calls fail from then on, and `uninitialize` is still expected.
    void endWithApplication();
    void endWithProcess();

    /// True from the first `initialize` to the last `uninitialize`.
    [[nodiscard]] bool hasSession() const;
    /// The current session; null while the library is not initialized, and at the end of the process. The caller's pointer keeps
    /// it alive.
    [[nodiscard]] std::shared_ptr<Internal::LoginSession> session() const;

    /// The flags that processes share; null while the library is not initialized.
    [[nodiscard]] std::shared_ptr<Util::ProcessState> processState() const;

    /// False when the log configuration was missing at start-up. Operations that need the network are refused then.
    [[nodiscard]] bool hasLogConfiguration() const;

    [[nodiscard]] WebServicesManager& manager() { return m_manager; }
    /// The object of `GetIWebServicesManager`, created by the first call. Null while the library is not initialized.
    [[nodiscard]] IWebServicesManager* runtimeObject();

    /// The key of the process's default client: the process id in decimal.
    [[nodiscard]] static QString defaultClientKey();

private:
    WebServicesManagerImp() = default;

    /// Under the mutex, which is free during the wait.
    void waitForStart();
    void endStart(int counted);
    [[nodiscard]] Internal::StartedLibrary library() const;
    /// Nothing of the library may be used any more, not even a lock.
    [[nodiscard]] bool isEnding() const;

    QMutex m_countMutex;
    int m_count = 0;
    bool m_hasEnded = false; ///< The application object has gone. Under the mutex of the count.
    std::atomic<bool> m_isProcessEnding{false};
    QWaitCondition m_startEnded;
    std::thread::id m_starter; ///< The thread that runs the start-up; none otherwise.
    mutable QReadWriteLock m_stateLock;
    Internal::StartedLibrary m_library;
    std::unique_ptr<IWebServicesManager> m_runtimeObject;
    WebServicesManager m_manager;
};

} // namespace Velquor::WebServices
