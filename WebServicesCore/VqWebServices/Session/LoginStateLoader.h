#pragma once

#include "Session/SessionCore.h"

#include <QDomDocument>

namespace Velquor::WebServices {

/// Reads the login state file into the session.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: log lines; a file that cannot be read leaves the
/// state in memory as it is, a state that fails a check is deleted from the file, so that every process asks for a new sign-in.
class LoginStateLoader {
public:
    explicit LoginStateLoader(SessionCore& core);

    /// Server, user and session expiry only: for questions asked before the login is restored. False when they were not read.
    bool loadBasic();

    /// The whole state. `takeServer`: the file's current server becomes the session's, and is not only compared with it.
    void loadAll(bool takeServer);

    /// The same from a content that was read under a guard which is still held: a state that fails a check is deleted from the
    /// very document that was checked.
    void loadFrom(const LoginStateFile::Content& content, bool takeServer);

    /// The sign-in on the current server; null, with one log line, when the document holds none.
    [[nodiscard]] QDomElement findLogin(const QDomElement& root);

private:
    enum class Verdict { Valid, NoLogin, Discard };

    void loadSettings(const QDomElement& root, bool takeServer);
    [[nodiscard]] Verdict loadUser(const QDomElement& login, BasicLoginState& state);
    void loadProducts(const QDomElement& login);
    void loadProductNode(const QDomElement& product, QStringList& loadedNames);
    void deleteInvalidProducts();
    [[nodiscard]] static bool isBecomingValid(const ProductLoginSession& session);
    [[nodiscard]] bool isKeyOfOtherServer(const QString& productKey, Server& server) const;
    void discard(QDomDocument document);

    SessionCore& m_core;
    Log::ILogger& m_logger;
};

/// The basic state of a "LoginSession" element, unchecked. A null element has no user.
[[nodiscard]] BasicLoginState readBasicState(const QDomElement& login);

/// The date of the last sign-out that the document tells of; invalid when there was none.
[[nodiscard]] QDateTime readLogoutDate(const QDomElement& root);

} // namespace Velquor::WebServices
