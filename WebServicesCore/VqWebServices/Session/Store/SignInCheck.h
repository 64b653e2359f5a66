#pragma once

#include "Session/Core/LockedState.h"

namespace Velquor::WebServices::Internal {

/// Checks whether a sign-in of the login state file may be used: by this user of the system, on this machine, and in time.
///
/// Decrypts, which takes tens of milliseconds: with the file's lock free. Thread: any, under the login session lock. Owner: its
/// user's stack. Errors: log lines.
class SignInCheck {
public:
    explicit SignInCheck(LockedState& state);

    enum class Verdict {
        Valid,
        Ignored,   ///< It is of no use here, and stays in the file.
        Undecided, ///< The system does not say now whether it may be used. It stays in the file, and is to be checked again.
        Discarded, ///< It is of no use to anybody, and is to be deleted from the file.
    };
    /// `isKnown`: this process has used this sign-in before, so only its expiry is checked. A valid one learns the machine's
    /// present addresses.
    [[nodiscard]] Verdict check(BasicLoginState& user, bool isKnown);

private:
    [[nodiscard]] Verdict checkClientId(const BasicLoginState& user);

    LockedState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
