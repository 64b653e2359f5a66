#pragma once

#include "Session/Core/LockedState.h"
#include "Session/Store/LoginStateMerge.h"

#include <functional>

namespace Velquor::WebServices::Internal {

/// Writes what this process holds into the login state file: locks, reads, merges, writes, and logs.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: results and log lines. A file that cannot be
/// written stays as it was, and `LockedState::unsaved` asks for another try.
class LoginStateStore {
public:
    /// Waits for the lock of the file at most `guardTimeoutMs` milliseconds.
    explicit LoginStateStore(LockedState& state, int guardTimeoutMs = LoginStateFile::patientTimeoutMs);

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
    /// The side that ends a sign-in.
    enum class EndedBy {
        User,  ///< Every sign-in before now ends with it, also one that another process could not write yet.
        Others ///< The account server, its expiry date, or a state that cannot be used here: it ends alone.
    };
    /// Ends this sign-in for good, after it was forgotten in memory: deletes it from the file and writes the date of the
    /// sign-out. A later sign-in of another process stays. False when the file could not be written.
    bool endSignIn(const BasicLoginState& ended, EndedBy who);

private:
    using Edit = std::function<bool(LoginStateDocument& document, const MergedLogin& merged)>; ///< False: nothing to write.
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
