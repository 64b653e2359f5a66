#pragma once

#include "Contract/DataCheck.h"
#include "Contract/ReplyReading.h"

#include <functional>

namespace Vqws {

/// How the test account gets to the sign-in page.
struct PageVisit {
    std::function<bool(const QString& address)> open; ///< False when nobody can have signed in there.
    std::function<bool(int milliseconds)> wait;       ///< False after cancellation.
    bool endsWithSignIn = false;                      ///< The user has signed in when `open` returns.
};

/// The contract test of an account server, with a test account. It signs the account out of every session that it has opened.
///
/// Thread: the main thread. Owner: the command. Errors: in the report.
class ContractCheck {
public:
    ContractCheck(ContractServer& server, ContractReport& report, const ClientKeys& keys, PageVisit visit);

    void run();
    /// Ends the sessions that are still open. Returns why one may have stayed, or an empty text.
    [[nodiscard]] QString cleanUp();

private:
    struct Session {
        OAuthKeys keys;
        QByteArray handle;
    };

    [[nodiscard]] bool checkUrlFile();
    [[nodiscard]] bool checkRequestToken();
    void checkRefusals();
    void checkPage();
    [[nodiscard]] QUrl pageAddress(const OAuthKeys& keys) const;
    [[nodiscard]] bool signIn();
    [[nodiscard]] HttpReply pollForToken();
    void checkFirstToken(const FormValues& values);
    void checkRefreshes();
    [[nodiscard]] HttpReply askForToken(const OAuthKeys& keys, const QByteArray& handle);
    void expectToken(const char* name, const HttpReply& reply);
    void checkSignOut();
    [[nodiscard]] HttpReply signOut(const Session& session);
    void checkAll();
    /// A session that a reply has opened, or its new token.
    void adopt(const HttpReply& reply);

    ContractServer& m_server;
    ContractReport& m_report;
    const PageVisit m_visit;
    DataCheck m_data;
    OAuthKeys m_request; ///< With the request token.
    Session m_session;
    QVector<Session> m_open;
    bool m_hasSignedOut = false;
    bool m_hasLostSession = false; ///< The server has opened one, and has not told its token.
};

} // namespace Vqws
