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

    /// Server, user and session expiry only: for questions asked before the login is restored. False when they were not read.
    bool loadBasic();

    /// The whole state. `takeServer`: the file's current server becomes the session's, and is not only compared with it.
    void loadAll(bool takeServer);

    /// The same from a content that was read under a guard which is still held: a state that fails a check is deleted from the
    /// very document that was checked. A user in memory is signed out when the file says that another process has done so, and
    /// stays when the file is older. False when nothing was loaded.
    bool apply(const LoginStateFile::Content& content, bool takeServer);

    /// All of the content was taken over, or it has nothing to give. What could not be read for the moment is looked at again
    /// later.
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
