#pragma once

#include "Runtime/Startup.h"

#include <QMutex>
#include <QReadWriteLock>
#include <VqWebServices/IWebServicesManager.h>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesManagerEx.h>
#include <memory>

namespace Velquor::WebServices {

/// The singleton behind the facades: both facade objects, the object of `GetIWebServicesManager`, and the login session.
///
/// Thread: any. Owner: the process. The facade objects live as long as the process, so that a pointer kept by a host over the
/// last `Uninitialize` leads to a failure result and not into freed memory; what has a life is the session: made by the first
/// `Initialize`, gone with the last `Uninitialize` as soon as no call uses it any more.
class WebServicesManagerImp : public WebServicesManagerEx {
public:
    static WebServicesManagerImp& instance();

    /// Counts, and runs the start-up or the tear-down for the first and the last. A start-up that throws is not counted.
    bool initialize(const QVector<OAuth2TokenSpec>& oauth2Specs);
    bool uninitialize();
    [[nodiscard]] bool isInitialized();

    /// The session of this moment; null while the library is not initialized. Holding it keeps it alive.
    [[nodiscard]] std::shared_ptr<Internal::LoginSession> session() const;

    /// The flags of the processes; null while the library is not initialized.
    [[nodiscard]] std::shared_ptr<Util::ProcessState> processState() const;

    /// False when the log configuration was missing at start-up: then nothing that needs the network is done.
    [[nodiscard]] bool hasLogConfiguration() const;

    [[nodiscard]] WebServicesManager& manager() { return m_manager; }
    /// The object of `GetIWebServicesManager`, made at the first call.
    [[nodiscard]] IWebServicesManager* runtimeObject();

    /// The key of the process's default client: the process id in decimal.
    [[nodiscard]] static QString defaultClientKey();

private:
    WebServicesManagerImp() = default;

    QMutex m_countMutex;
    int m_count = 0;
    mutable QReadWriteLock m_stateLock;
    Internal::StartedLibrary m_library;
    std::unique_ptr<IWebServicesManager> m_runtimeObject;
    WebServicesManager m_manager;
};

} // namespace Velquor::WebServices
