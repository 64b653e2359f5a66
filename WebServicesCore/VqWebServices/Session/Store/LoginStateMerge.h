#pragma once

#include "Session/State/LoginState.h"

#include <optional>

namespace Velquor::WebServices::Internal {

/// What one process knows when it meets the login state file. A plain value.
struct HeldLogin {
    LoginState state;          ///< What it holds in memory: the current server, the user, and the products on that server.
    LoginState seen;           ///< The file as this process saw it last: what differs from it was changed since.
    BasicLoginState lastEnded; ///< The latest sign-in that ended in this process.
    bool isLoggedIn = false;   ///< There is a user, and a product with tokens.
    bool mayTakeServer = true; ///< No sign-in waits for the browser, which would be lost.

    bool isRestore = false;                     ///< The current server is that of the file, whatever it was before.
    bool isNewSignIn = false;                   ///< The user has just signed in here.
    bool isSignOut = false;                     ///< The user was just signed out here.
    bool isServerChosen = false;                ///< The host has just chosen the current server.
    QString freshProduct;                       ///< The product of this key has just obtained its tokens.
    std::optional<OAuth2TokenData> freshOAuth2; ///< This token of that product was just obtained; its other tokens were not.
};

/// How the sign-in in memory relates to the file.
enum class LoginVerdict {
    NoUser,    ///< Nobody is signed in here.
    Same,      ///< The file holds this sign-in.
    Missing,   ///< The file holds none: it was lost, or the sign-in was not written yet. This process keeps it, and writes it.
    Older,     ///< The file holds an earlier sign-in. This process keeps its own, and writes it.
    SignedOut, ///< Another process has signed the user out. The sign-out wins.
    Renewed,   ///< The same user has signed in again in another process.
    Replaced,  ///< Another process has signed the user out, or another user in, and somebody is signed in since.
};

/// Why memory does not take the sign-in of the file.
enum class NotTaken { None, NoSignIn, OtherServer, EndedHere, OwnIsLater };

/// What is on both sides afterwards. A plain value.
struct MergedLogin {
    LoginVerdict verdict = LoginVerdict::NoUser;
    NotTaken notTaken = NotTaken::None;
    BasicLoginState user; ///< The user of this process. A new sign-in has its date.
    LoginState memory;    ///< When this process takes what is new in the file. The user is still unchecked.
    LoginState seen; ///< The file as this process has seen it then. A choice of server that memory could not take is still new.
    LoginState file; ///< When this process writes.

    /// The user in memory is no longer signed in: the file says so.
    [[nodiscard]] bool isGone() const { return verdict >= LoginVerdict::SignedOut; }
};

/// Merges what this process holds with what the file holds. A sign-out wins over the sign-in that it ends; of two sign-ins the
/// later one counts; of two tokens the one that was obtained later counts, whenever it ends. A pure function. Thread: any.
[[nodiscard]] MergedLogin mergeLogin(const HeldLogin& held, const LoginState& file);

/// What this process has seen of the file after it has written it: what both agree on. What another process wrote meanwhile is
/// still to be taken.
[[nodiscard]] LoginState seenAfterWriting(const HeldLogin& held, const LoginState& file);

} // namespace Velquor::WebServices::Internal
