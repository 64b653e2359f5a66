#pragma once

#include <QString>
#include <memory>

namespace Velquor::Util {

/// The result of `CredentialPrompt::ask` when the user canceled.
constexpr int credentialPromptCanceled = 1223;

/// The texts of a prompt.
struct CredentialPromptTexts {
    QString caption;
    QString message;
    QString target; ///< What the credentials are for, such as the name of a host.
};

/// Asks the user for a user name and a password. Windows: the credential dialog of the system. Posix: the terminal of the
/// process, when there is one and the process is in its foreground.
///
/// Thread: `ask` on any, one call at a time; it returns when the user has answered. `cancel` on any. Owner: the caller.
/// Errors: 0, `credentialPromptCanceled`, or the system's error code.
class CredentialPrompt {
public:
    CredentialPrompt();
    ~CredentialPrompt();
    CredentialPrompt(const CredentialPrompt&) = delete;
    CredentialPrompt& operator=(const CredentialPrompt&) = delete;

    /// The sizes are in units and include the terminator. `user` holds the name to suggest. Every text is truncated to fit. All
    /// copies of the password except the caller's are wiped.
    [[nodiscard]] int ask(const CredentialPromptTexts& texts, wchar_t* user, int userSize, wchar_t* password, int passwordSize);

    /// Closes the open prompt as if the user had canceled it.
    void cancel();

    /// The system's text for an error code of `ask`.
    [[nodiscard]] static QString errorText(int code);

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
};

} // namespace Velquor::Util
