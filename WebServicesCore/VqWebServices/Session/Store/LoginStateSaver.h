#pragma once

#include "Session/Store/ProductMerge.h"

#include <QDomDocument>
#include <functional>

namespace Velquor::WebServices::Internal {

/// Merges the session into the login state file. What other processes wrote stays, and their sign-out or later sign-in wins.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: a result and a log line; the file stays as it was,
/// and `SessionState::unsaved` asks for another try.
class LoginStateSaver {
public:
    /// Waits for the lock of the file at most `guardTimeoutMs` milliseconds.
    explicit LoginStateSaver(SessionState& state, int guardTimeoutMs = LoginStateFile::patientTimeoutMs);

    enum class Result {
        Saved,
        Failed,     ///< The file is as it was, or nothing may be saved yet.
        SignInGone, ///< Another process has ended or replaced this sign-in: nothing of it was written.
    };
    /// Saves settings, user and products.
    Result save();

    /// The same after new tokens of this product were obtained: the server has invalidated those in the file, whatever their
    /// dates say.
    Result saveTokens(const ProductLoginSession& fresh);

    /// The same after a user has signed in with this product: the sign-in gets a date after every sign-in and sign-out in the
    /// file.
    Result saveSignIn(const ProductLoginSession& fresh);

    /// Saves the OAuth2 tokens of one product; `fresh` was just obtained.
    Result saveOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh);

    /// Ends this sign-in for good, after it was forgotten in memory: deletes it from the file and writes the date of the
    /// sign-out. A later sign-in of another process stays. False when the file could not be written.
    bool endSignIn(const BasicLoginState& ended);
    /// The same in a document that was read under a guard that is still held.
    bool endSignIn(const BasicLoginState& ended, const QDomDocument& document);

private:
    using Edit = std::function<bool(QDomElement& root)>; ///< Returns false when there is nothing to write.

    [[nodiscard]] bool change(const Edit& edit);
    [[nodiscard]] bool change(const QDomDocument& document, const Edit& edit);
    void markEnded(const BasicLoginState& ended);
    void removeEnded(QDomElement& root) const;
    [[nodiscard]] bool writeSignOut(QDomElement& root);
    [[nodiscard]] bool mergeUser(QDomElement& root);
    [[nodiscard]] Result putOAuth2(const ProductLoginSession& product, const OAuth2TokenData& fresh, QDomElement& root) const;
    void writeHeader(QDomElement& root);
    void dateSignIn(const QDomElement& root);
    [[nodiscard]] bool mayWriteUser(const QDomElement& root) const;
    [[nodiscard]] QDomElement loginElement(QDomElement& root) const;

    SessionState& m_state;
    Log::ILogger& m_logger;
    const int m_guardTimeoutMs;
    ProductMerge m_products;
    bool m_isSignIn = false;
};

} // namespace Velquor::WebServices::Internal
