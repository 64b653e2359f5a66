#pragma once

#include <QString>
#include <memory>

namespace Velquor::Util {

/// What `CredentialPrompt::ask` answers when the user did not want to.
constexpr int credentialPromptCanceled = 1223;

/// What a prompt shows.
struct CredentialPromptTexts {
    QString caption;
    QString message;
    QString target; ///< What the credentials are for, such as the name of a host.
};

/// The system's prompt for a user name and a password. Windows: the credential dialog of the system. Posix: a question on the
/// terminal of the process, when there is one and the process is in its foreground.
///
/// Thread: `ask` on any, once at a time, and it returns when the user has answered; `cancel` on any. Owner: the caller.
/// Errors: 0, `credentialPromptCanceled`, or the system's error code.
class CredentialPrompt {
public:
    CredentialPrompt();
    ~CredentialPrompt();
    CredentialPrompt(const CredentialPrompt&) = delete;
    CredentialPrompt& operator=(const CredentialPrompt&) = delete;

    /// The sizes count units with the terminator. `user` comes with the name to begin with. Every text is cut to what fits; other
    /// copies of the password than the caller's are wiped.
    [[nodiscard]] int ask(const CredentialPromptTexts& texts, wchar_t* user, int userSize, wchar_t* password, int passwordSize);

    /// Closes the prompt that is open, as if the user had canceled it.
    void cancel();

    /// The system's text for an error code of `ask`.
    [[nodiscard]] static QString errorText(int code);

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
};

} // namespace Velquor::Util
