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

/// Asks the user for proxy credentials on behalf of all requests of the process: one prompt at a time, and requests that wait for
/// it share its answer.
///
/// Thread: any. While a request waits for the prompt of another thread, its thread goes on to handle events other than user
/// input, since that prompt may need it. Owner: the process, never destroyed. Errors: an empty login, and a log line.
class ProxyPrompt {
public:
    static ProxyPrompt& instance();

    /// From now on questions are asked; `store` may be null.
    void open(std::shared_ptr<IProxyCredentialStore> store);
    /// No question any more: cancels the prompt that is open and ends every wait for it, forgets store and texts.
    void close();

    /// The prompt of the product; null goes back to the system's. It stays over `close()`.
    void setPrompt(std::shared_ptr<ICredentialPrompt> prompt);
    void setTexts(const ProxyDialogTexts& texts);
    /// The product's texts, or the library's own where there are none.
    [[nodiscard]] ProxyDialogTexts texts() const;

    /// What is stored for the proxy, unless it is what the proxy has refused.
    [[nodiscard]] ProxyLogin stored(const ProxyAddress& proxy, const RefusedLogins& refused) const;

    /// Asks the user, and stores what is given. Empty when it was not given.
    [[nodiscard]] ProxyLogin ask(const ProxyAddress& proxy, const RefusedLogins& refused, Log::ILogger& logger);

private:
    ProxyPrompt() = default;

    class Turn;
    /// What the user said last, while others wait for it.
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
    std::shared_ptr<ICredentialPrompt> m_openPrompt; ///< the one that is asking
    ProxyDialogTexts m_texts;
    bool m_isOpen = false;
    Qt::HANDLE m_asker = nullptr; ///< the thread whose turn it is
    int m_waiting = 0;
    LastAnswer m_last;
};

} // namespace Velquor::WebServices::Internal
