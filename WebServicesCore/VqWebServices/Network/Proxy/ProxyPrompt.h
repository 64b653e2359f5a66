#pragma once

#include "Network/Proxy/IProxyCredentialStore.h"
#include "Network/Proxy/ProxyLogin.h"
#include "Network/Proxy/RefusedLogins.h"
#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ProtectedText.h"

#include <QMutex>
#include <QWaitCondition>
#include <VqWebServices/ICredentialPrompt.h>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Prompts the user for proxy credentials for all requests of the process: one prompt at a time, and requests that wait for it
/// share its answer.
///
/// Thread: any. While a request waits for the prompt of another thread, its thread handles events other than user input, since
/// that prompt may need them. Owner: the process, never destroyed. Errors: an empty login, and a log line.
class ProxyPrompt {
public:
    static ProxyPrompt& instance();

    /// Allows prompts; `store` may be null.
    void open(std::shared_ptr<IProxyCredentialStore> store);
    /// Forbids prompts: cancels the open one, ends every wait for it, forgets store and texts.
    void close();

    /// The prompt of the product; null restores the system's. It survives `close()`.
    void setPrompt(std::shared_ptr<ICredentialPrompt> prompt);
    void setTexts(const ProxyDialogTexts& texts);
    /// The product's texts; the library's own replace empty ones.
    [[nodiscard]] ProxyDialogTexts texts() const;

    /// The stored login for the proxy, unless the proxy has refused it.
    [[nodiscard]] ProxyLogin stored(const ProxyAddress& proxy, const RefusedLogins& refused) const;

    /// Prompts the user and stores the answer. Empty without an answer. `waiting`: the thread that waits for the request, when it
    /// is another than the request's; null otherwise.
    [[nodiscard]] ProxyLogin ask(const ProxyAddress& proxy, const RefusedLogins& refused, Log::ILogger& logger,
                                 Qt::HANDLE waiting);

private:
    ProxyPrompt() = default;

    class Turn;
    /// The last answer of the user, kept while other requests wait for it.
    struct LastAnswer {
        ProxyAddress proxy;
        QString user;
        Util::ProtectedText password;
        quint64 number = 0;
    };

    [[nodiscard]] ProxyLogin show(const ProxyAddress& proxy, const RefusedLogins& refused, Log::ILogger& logger);
    [[nodiscard]] std::shared_ptr<IProxyCredentialStore> store() const;
    void forgetAnswer();

    mutable QMutex m_mutex;
    QWaitCondition m_changed;
    std::shared_ptr<IProxyCredentialStore> m_store;
    std::shared_ptr<ICredentialPrompt> m_prompt;     ///< the product's
    std::shared_ptr<ICredentialPrompt> m_openPrompt; ///< the open one
    ProxyDialogTexts m_texts;
    bool m_isOpen = false;
    Qt::HANDLE m_asker = nullptr; ///< the thread whose turn it is
    int m_waiting = 0;
    LastAnswer m_last;
};

} // namespace Velquor::WebServices::Internal
