#pragma once

#include "Session/SessionCore.h"

#include <QDomDocument>

namespace Velquor::WebServices {

/// Merges the session into the login state file: what other processes wrote stays, and their sign-out or later sign-in wins.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: false and a log line; the file stays as it was.
class LoginStateSaver {
public:
    explicit LoginStateSaver(SessionCore& core);

    enum class Result {
        Saved,
        Failed,     ///< The file is as it was, or nothing may be saved yet.
        SignInGone, ///< Another process has ended or replaced this sign-in: nothing of it was written.
    };
    /// Saves settings, user and products.
    Result save();

    /// Saves the OAuth2 tokens of one product; `fresh` was just obtained.
    Result saveOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh);

    /// Deletes the signed-in user of the file and writes the date of the sign-out.
    bool removeLogin(const QDateTime& logoutDate);

private:
    [[nodiscard]] Result writeOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh, QDomDocument& document);
    void writeHeader(QDomElement& root);
    void writeUser(QDomElement& login);
    void mergeProducts(QDomElement& login, bool isSameSignIn);
    [[nodiscard]] bool mayWriteUser(const QDomElement& root) const;
    [[nodiscard]] QDomElement loginElement(QDomElement& root) const;

    SessionCore& m_core;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices
