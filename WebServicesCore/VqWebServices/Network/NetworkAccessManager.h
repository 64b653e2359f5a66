#pragma once

#include "Network/Proxy/RefusedLogins.h"
#include "VqLog/ILogger.h"

#include <QAuthenticator>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The network access of one operation, with what holds for every exchange of the library: redirects are reported and
/// not followed (a signed request must not carry its credentials elsewhere), replies are not compressed (a small reply
/// could unpack to any size), network interfaces are not polled. When a proxy asks for credentials, it gets the stored ones or
/// those that the user enters; one request asks the user twice at most.
///
/// Thread: that of the operation; a prompt is modal there. Owner: the operation. Errors: those of the replies; a proxy that gets
/// no answer makes the request fail with the framework's error.
class NetworkAccessManager final : public QNetworkAccessManager {
    Q_OBJECT

public:
    explicit NetworkAccessManager(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);

    /// Destroys the manager with its replies; later, when the call is made from inside an event that a prompt has handled.
    static void retire(std::unique_ptr<NetworkAccessManager> manager);

    /// The user is being asked, further up on this thread.
    [[nodiscard]] bool isPrompting() const { return m_openPrompts > 0; }

Q_SIGNALS:
    /// The time between the two is the user's, not the network's.
    void PromptOpened();
    void PromptClosed();

public Q_SLOTS:
    void ProxyAuthenticationRequired(const QNetworkProxy& proxy, QAuthenticator* authenticator);

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* body) override;

private:
    void answerProxy(const QNetworkProxy& proxy, QAuthenticator& authenticator);

    std::shared_ptr<Log::ILogger> m_logger;
    const bool m_isDialogEnabled;
    int m_prompts = 0; ///< how often the user was asked for the request that is under way
    int m_answers = 0; ///< how often the proxy was answered for it
    RefusedLogins m_refused;
    int m_openPrompts = 0;
    bool m_isRetired = false;
};

} // namespace Velquor::WebServices::Internal
