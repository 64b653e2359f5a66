#pragma once

#include "Network/Proxy/ProxyLogin.h"

#include <QString>
#include <VqWebServices/ICredentialPrompt.h>
#include <string>

namespace Velquor::WebServices::Internal {

/// One showing of a prompt for proxy credentials: its texts, and the buffers for what the user enters, which it wipes.
///
/// Thread: that of the request. Owner: its stack. Errors: not given, with a text; a prompt that throws has failed.
class ProxyPromptRun {
public:
    ProxyPromptRun(const ProxyDialogTexts& texts, const ProxyAddress& proxy, const QString& knownUser);

    /// Returns when the user has answered.
    void show(ICredentialPrompt& prompt);

    [[nodiscard]] bool isGiven() const { return m_error.isEmpty(); }
    [[nodiscard]] bool isCanceled() const { return m_isCanceled; }
    /// Why it was not given.
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

/// The texts with the library's own in place of empty ones.
[[nodiscard]] ProxyDialogTexts withDefaults(const ProxyDialogTexts& texts);

} // namespace Velquor::WebServices::Internal
