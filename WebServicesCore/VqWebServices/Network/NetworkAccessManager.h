#pragma once

#include "Network/Bodies/UploadBody.h"
#include "Network/Proxy/RefusedLogins.h"
#include "VqLog/ILogger.h"

#include <QAuthenticator>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QPointer>
#include <QUrl>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The network access of one operation at a time, with the rules for every exchange of the library. Redirects are reported and
/// not followed, since a signed request must not carry its credentials elsewhere. Replies are not compressed, since a small reply
/// could unpack to any size. There are no cookies: nothing of one exchange goes into another. Network interfaces are not polled.
/// A proxy that requires credentials gets the stored ones, or those that the user enters; one request prompts the user twice at
/// most.
///
/// In a tunnel (https through an HTTP proxy) the framework crashes when it gets an answer after the proxy has closed the
/// connection, and the user takes any time. So it never gets one there: the request fails, and takeTunnelLogin() tells the
/// operation to send it again, with the login as a part of the proxy.
///
/// Thread: the operation's; a prompt is modal there. Owner: the operation. Errors: those of the replies; a proxy without
/// credentials makes the request fail with the framework's error.
class NetworkAccessManager final : public QNetworkAccessManager {
    Q_OBJECT

public:
    /// As of `serve`.
    explicit NetworkAccessManager(std::shared_ptr<Log::ILogger> logger, Qt::HANDLE waiting = nullptr);

    /// Destroys the manager with its replies. During a prompt further up on this thread the manager deletes itself after the
    /// prompt.
    static void retire(std::unique_ptr<NetworkAccessManager> manager);

    /// Another operation may use the manager: it has learned nothing that is for the present one alone.
    [[nodiscard]] bool isReusable() const;
    /// The next operation begins. `waiting`: the thread that waits for it, when it is another than the manager's.
    void serve(std::shared_ptr<Log::ILogger> logger, Qt::HANDLE waiting);

    /// A new request begins; sending it again does not.
    void startRequest();

    /// The proxy has refused a tunnel, and there is a login to try: send the request again. True once for each login.
    [[nodiscard]] bool takeTunnelLogin();

    /// A prompt is open, further up on this thread.
    [[nodiscard]] bool isPrompting() const { return m_openPrompts > 0; }

    /// The HTTP proxy of the latest request, as "host:port"; empty without one.
    [[nodiscard]] QString proxyAddress() const;

Q_SIGNALS:
    /// The time between the two signals must not count for a time-out.
    void PromptOpened();
    void PromptClosed();

public Q_SLOTS:
    void ProxyAuthenticationRequired(const QNetworkProxy& proxy, QAuthenticator* authenticator);

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* body) override;

private:
    void answerProxy(const QNetworkProxy& proxy, QAuthenticator& authenticator);
    /// With the credentials that the proxy of the process has; false when there are none, or the proxy has refused them.
    bool answerAsConfigured(const QNetworkProxy& proxy, QAuthenticator& authenticator);
    void give(const ProxyLogin& login, const QNetworkProxy& proxy, QAuthenticator& authenticator);

    std::shared_ptr<Log::ILogger> m_logger;
    bool m_isDialogEnabled = true;
    Qt::HANDLE m_waiting = nullptr;
    int m_prompts = 0;          ///< prompts for the request in progress
    int m_answers = 0;          ///< answers to the proxy for that request
    bool m_hasAnswered = false; ///< any proxy, since the manager was made
    bool m_hasTunnelLogin = false;
    RefusedLogins m_refused;
    QUrl m_url;                  ///< of the request in progress
    QNetworkProxy m_used;        ///< the first one of the request in progress
    QNetworkProxy m_configured;  ///< the proxy of the process, with its credentials
    QNetworkProxy m_tunnel;      ///< with the login for the tunnel of the request in progress
    QPointer<UploadBody> m_body; ///< of the request in progress; null: it has none
    int m_openPrompts = 0;
    bool m_isRetired = false;
};

} // namespace Velquor::WebServices::Internal
