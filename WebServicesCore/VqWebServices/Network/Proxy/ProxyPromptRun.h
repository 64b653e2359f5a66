#pragma once

#include "Network/Proxy/ProxyLogin.h"

#include <QString>
#include <VqWebServices/ICredentialPrompt.h>
#include <string>

namespace Velquor::WebServices::Internal {

/// One run of a prompt for proxy credentials: its texts, and the buffers for the input, which are wiped.
///
/// Thread: the request's. Owner: its stack. Errors: `isGiven` is false and `error` says why; an exception of the prompt is a
/// failure.
class ProxyPromptRun {
public:
    ProxyPromptRun(const ProxyDialogTexts& texts, const ProxyAddress& proxy, const QString& knownUser);

    /// Returns when the prompt is closed.
    void show(ICredentialPrompt& prompt);

    [[nodiscard]] bool isGiven() const { return m_error.isEmpty(); }
    [[nodiscard]] bool isCanceled() const { return m_isCanceled; }
    /// Why no login was given.
    [[nodiscard]] QString error() const { return m_error; }
    [[nodiscard]] ProxyLogin login() const { return m_login; }

private:
    const std::wstring m_caption;
    const std::wstring m_message;
    const std::wstring m_host;
    const QString m_knownUser;
    ProxyLogin m_login;
    QString m_error;
    bool m_isCanceled = false;
};

/// The texts; the library's own replace empty ones.
[[nodiscard]] ProxyDialogTexts withDefaults(const ProxyDialogTexts& texts);

} // namespace Velquor::WebServices::Internal
