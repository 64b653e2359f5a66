#pragma once

#include "Session/Core/LockedState.h"
#include "Session/Store/LoginStateMerge.h"

#include <optional>

namespace Velquor::WebServices::Internal {

/// Takes what is new in the login state file into memory: locks, reads, merges, checks, and logs.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: results and log lines. A file that cannot be read
/// leaves memory as it is, and `LockedState::unread` asks for another try.
class LoginStateReader {
public:
    explicit LoginStateReader(LockedState& state);

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

private:
    LoginVerdict apply(const LoginStateFile::Content& content, bool isRestore);
    LoginVerdict take(const LoginStateDocument& document, bool isRestore);
    [[nodiscard]] HeldLogin heldForReading() const;
    void keepOwn(const MergedLogin& merged);
    /// The file lacks what memory holds: the next call that follows the file writes it.
    void askForSave();
    void leaveUser(const MergedLogin& merged, const LoginState& file);
    void takeSettings(const MergedLogin& merged, const LoginState& file);
    void takeSignIn(const MergedLogin& merged, const LoginState& file, bool isKnown);
    void takeUser(const BasicLoginState& user, const MergedLogin& merged, const LoginState& file);
    void discard(const BasicLoginState& signIn);
    void logNotTaken(NotTaken reason);

    LockedState& m_state;
    Log::ILogger& m_logger;
    bool m_isUndecided = false; ///< The sign-in could not be checked, and the file is to be read again.
};

} // namespace Velquor::WebServices::Internal
