#pragma once

#include "Session/Core/LockedState.h"
#include "Session/Store/LoginStateMerge.h"

#include <functional>

namespace Velquor::WebServices::Internal {

/// Exchanges the login state of this process with the login state file: locks, reads, merges, writes, and logs.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: results and log lines. A file that cannot be read
/// leaves memory as it is, and `LockedState::unread` asks for another try; one that cannot be written stays as it was, and
/// `LockedState::unsaved` does.
class LoginStateStore {
public:
    /// Waits for the lock of the file at most `guardTimeoutMs` milliseconds.
    explicit LoginStateStore(LockedState& state, int guardTimeoutMs = LoginStateFile::patientTimeoutMs);

    /// Reads only server, user and session expiry, for questions that are asked before the login is restored.
    void loadBasic();
    /// Takes server, proxy credentials and sign-in of the file. What cannot be read now is taken by `follow` later.
    void restore();
    struct Followed {
        bool hasRead = false;
        bool isSignedOut = false; ///< The user of this process was signed out.
    };
    /// Takes what other processes have written.
    Followed follow();
    /// The sign-in of the file, merged with that in memory, for a look at one product. None, with one log line, when another user
    /// is signed in here, or the file holds no sign-in.
    [[nodiscard]] std::optional<LoginState> findOwnSignIn(const LoginStateDocument& document);

    enum class Result {
        Saved,
        Failed,     ///< The file is as it was, or nothing may be saved yet.
        SignInGone, ///< Another process has ended or replaced this sign-in: nothing of it was written.
    };
    /// Saves settings, user and products. What other processes wrote stays, and their sign-out or later sign-in wins.
    Result save();
    /// The same after the host has chosen the current server. Also before the login is restored.
    Result saveServer();
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

private:
    LoginVerdict apply(const LoginStateFile::Content& content, bool isRestore);
    LoginVerdict take(const LoginStateDocument& document, bool isRestore);
    void keepOwn(const MergedLogin& merged);
    void leaveUser(const MergedLogin& merged, const LoginState& file);
    void takeSettings(const MergedLogin& merged, const LoginState& file);
    void takeSignIn(const MergedLogin& merged, const LoginState& file, bool isKnown);
    void takeUser(const BasicLoginState& user, const MergedLogin& merged, const LoginState& file);
    void discard(const BasicLoginState& signIn);
    void logNotTaken(NotTaken reason);

    using Edit = std::function<bool(LoginStateDocument& document, const MergedLogin& merged)>; ///< False: nothing to write.
    [[nodiscard]] HeldLogin held() const;
    [[nodiscard]] HeldLogin heldForSaving(const ProductLoginSession* fresh) const;
    [[nodiscard]] Result save(const HeldLogin& held);
    /// Whether there is a configuration, and the login is restored.
    [[nodiscard]] bool maySave(const HeldLogin& held);
    [[nodiscard]] bool change(const HeldLogin& held, const Edit& edit);
    [[nodiscard]] bool changeDocument(const HeldLogin& held, LoginStateDocument& document, const Edit& edit);
    void logMerge(const HeldLogin& held, const MergedLogin& merged, const LoginState& file);
    [[nodiscard]] Result putOAuth2(const ProductLoginSession& product, const MergedLogin& merged, LoginStateDocument& document);

    LockedState& m_state;
    Log::ILogger& m_logger;
    const int m_guardTimeoutMs;
};

} // namespace Velquor::WebServices::Internal
