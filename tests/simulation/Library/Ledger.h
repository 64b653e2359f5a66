#pragma once

#include "simulation/World.h"

#include <QMap>
#include <map>
#include <vector>

namespace Velquor::Simulation {

/// What the account server knows: sign-ins and the tokens it gave out, by serial number. It takes each token once, and knows one
/// current token for each product of a sign-in.
///
/// The texts tell the oracle where they come from: "s3.t17" is token 17, of sign-in 3, and "s3.o5" OAuth2 token 5. Thread: the
/// director or the running actor. Owner: the run, for longer than the processes.
class Ledger {
public:
    struct SignIn {
        int number = 0;
        QByteArray user;      ///< Empty: not approved yet.
        int order = 0;        ///< Of its exchange; 0: not exchanged yet.
        bool isEnded = false; ///< By a sign-out that reached the server, or by the server itself.
        qint64 exchangedUs = 0;
        qint64 endUs = 0;
        std::map<QByteArray, int> lastTokens; ///< By consumer key.
        std::map<QByteArray, qint64> givenUs; ///< When the server gave them out.
        bool isGivenEarly = false;            ///< A token was given out while the one before it had long to live.
    };
    struct Answer {
        int status = 200;
        QByteArray body;
        QByteArray problem;
        int token = 0; ///< That was given out; 0: none.
    };
    using Parameters = QMap<QByteArray, QByteArray>;

    explicit Ledger(World& world)
        : m_world(world) {}

    [[nodiscard]] Answer answer(const QString& path, const Parameters& oauth);
    [[nodiscard]] Answer oauth2Answer(const Parameters& form);
    /// The user has signed in in the browser.
    void approve(int number, const QByteArray& user) { m_signIns[number].user = user; }
    void end(int number) { m_signIns[number].isEnded = true; }
    /// Null: there is none of this number.
    [[nodiscard]] const SignIn* find(int number) const;
    [[nodiscard]] bool isGood(int number) const;
    /// The sign-in of a token; 0: there is no such token.
    [[nodiscard]] int ownerOf(int token) const;
    /// The server would take this token of a product.
    [[nodiscard]] bool isCurrent(int token, const QByteArray& key) const;
    /// The server would take this OAuth2 token.
    [[nodiscard]] bool isOAuth2Good(int token) const;
    [[nodiscard]] int ownerOfOAuth2(int token) const;
    [[nodiscard]] const std::map<int, SignIn>& signIns() const { return m_signIns; }

    /// The numbers in a text of the ledger; 0: there are none.
    [[nodiscard]] static int signInOf(const QByteArray& text) { return numberAfter(text, 's'); }
    [[nodiscard]] static int tokenOf(const QByteArray& text) { return numberAfter(text, 't'); }
    [[nodiscard]] static int oauth2TokenOf(const QByteArray& text) { return numberAfter(text, 'o'); }

    static constexpr qint64 tokenLifeSeconds = 3600;
    /// A token is renewed five minutes before its end, less a timer's lateness.
    static constexpr qint64 renewalSeconds = tokenLifeSeconds - 360;
    qint64 signInLifeSeconds = 14LL * 86400;

private:
    struct OAuth2Token {
        int signIn = 0;
        qint64 endUs = 0;
    };

    [[nodiscard]] static int numberAfter(const QByteArray& text, char mark);
    [[nodiscard]] Answer requestToken();
    [[nodiscard]] Answer accessToken(const Parameters& oauth);
    [[nodiscard]] Answer exchange(SignIn& signIn, const QByteArray& key);
    [[nodiscard]] Answer give(SignIn& signIn, const QByteArray& key);
    void markGiven(SignIn& signIn, const QByteArray& key);
    [[nodiscard]] Answer invalidate(const Parameters& oauth);

    World& m_world;
    std::map<int, SignIn> m_signIns;
    int m_requests = 0;
    int m_exchanges = 0;
    int m_tokens = 0;
    std::map<int, int> m_owners;               ///< The sign-ins of the tokens.
    std::map<int, OAuth2Token> m_oauth2Tokens; ///< By serial number.
};

} // namespace Velquor::Simulation
