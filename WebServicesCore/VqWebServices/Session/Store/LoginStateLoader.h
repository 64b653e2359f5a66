#pragma once

#include "Session/Core/SessionState.h"

#include <QDomDocument>

namespace Velquor::WebServices::Internal {

/// Reads the login state file into the session.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: log lines; a file that cannot be read leaves the
/// state in memory as it is, a state that fails a check is deleted from the file, so that every process asks for a new sign-in.
class LoginStateLoader {
public:
    explicit LoginStateLoader(SessionState& state);

    /// Reads only server, user and session expiry, for questions that are asked before the login is restored. False when they
    /// were not read.
    bool loadBasic();

    /// Reads the whole state. `takeServer`: the file's current server becomes the session's; otherwise the two are only compared.
    void loadAll(bool takeServer);

    /// The same from a content that was read under a guard that is still held: a state that fails a check is deleted from the
    /// document that was checked. The user in memory is signed out when the file shows that another process signed the user out,
    /// and stays when the file is older. False when nothing was loaded.
    bool apply(const LoginStateFile::Content& content, bool takeServer);

    /// The content was applied, or holds nothing to apply. A content that could not be read is read again later.
    void markApplied(const LoginStateFile::Content& content);

    /// The sign-in on the current server; null, with one log line, when the document holds none.
    [[nodiscard]] QDomElement findLogin(const QDomElement& root);
    /// The same; also null when it is another one than that in memory.
    [[nodiscard]] QDomElement findOwnLogin(const QDomElement& root);

private:
    enum class Verdict { Valid, NoLogin, Discard };

    [[nodiscard]] bool mayLoad(const QDomElement& root);
    void loadFrom(const LoginStateFile::Content& content, bool takeServer);
    void loadSettings(const QDomElement& root, bool takeServer);
    [[nodiscard]] Verdict loadUser(const QDomElement& login, BasicLoginState& state);
    void discard(const QDomDocument& document);

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
