#pragma once

#include "Network/Proxy/ProxyLogin.h"
#include "Network/Proxy/RefusedLogins.h"
#include "Session/State/LoginStateFile.h"
#include "Session/State/SessionDependencies.h"
#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <QMutex>
#include <QNetworkProxy>
#include <memory>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The proxy credentials of this process: Qt's application proxy, and the element "ProxySettings" of the login state file, which
/// shares them with the user's other processes. The password is in clear in the proxy object only.
///
/// Thread: any. Operations that change the credentials are called under the login session lock; queries wait for nothing. Owner:
/// the login session. Errors: false and a log line; a file that cannot be written leaves the proxy of this process as it was set.
class ProxyCredentials {
public:
    ProxyCredentials(const SessionDependencies& services, std::shared_ptr<Log::ILogger> logger);

    /// Makes it the application proxy and saves it. False, with nothing changed, when host or user is empty, the port is out of
    /// range, or the file cannot hold one of the texts unchanged. True also when saving failed.
    bool SetProxyAuthentication(const QString& host, int port, const QString& user, const QString& password);

    /// Whether these credentials are for the host and the port (-1: any port) and have a user.
    [[nodiscard]] bool HasProxyAuthentication(const QString& host, int port) const;

    /// User and password for the host and the port (-1: any port). False when there are none; `login` is unchanged then.
    [[nodiscard]] bool GetProxyAuthentication(const QString& host, int port, ProxyLogin& login) const;

    /// Whether a proxy is stored at all.
    [[nodiscard]] bool HasProxyInfo() const;

    /// Uses no proxy from now on, and removes the credentials from the file. False when the file could not be changed.
    bool ClearProxyInfo();

    /// Applies the credentials of a document that was read from the file, when another process has changed them there.
    /// `isRestore`: applies them in any case.
    void follow(const LoginStateDocument& document, bool isRestore);

    /// Reads the file and applies its credentials.
    void loadFromFile();

    /// The login for the proxy from memory or, when another process put it there, from the file; none that the proxy has refused.
    /// Changes nothing and waits for the file only briefly.
    [[nodiscard]] ProxyLogin find(const ProxyAddress& proxy, const RefusedLogins& refused) const;

private:
    [[nodiscard]] QNetworkProxy current() const;
    void setCurrent(const QNetworkProxy& proxy);
    void apply(const QNetworkProxy& proxy);
    [[nodiscard]] bool save(const QNetworkProxy& proxy);
    [[nodiscard]] bool removeFromFile();
    [[nodiscard]] bool write(const LoginStateDocument& document);
    void load(const LoginStateDocument& document);
    void forget();
    [[nodiscard]] std::optional<QNetworkProxy> decrypted(const std::optional<StoredProxy>& stored, QNetworkProxy proxy) const;

    const std::shared_ptr<IStateFile> m_storage;
    const std::function<QDateTime()> m_now;
    const std::shared_ptr<Util::ICryptor> m_cryptor;
    const std::shared_ptr<Log::ILogger> m_logger;
    /// A separate object, so that reading and writing here does not mark the file as seen by the login session.
    LoginStateFile m_file;
    mutable QMutex m_mutex;
    QNetworkProxy m_proxy;
    std::optional<StoredProxy> m_seen; ///< In the file, when this process looked last. Under the login session lock.
};

} // namespace Velquor::WebServices::Internal
