#pragma once

#include "Session/Store/LoginStateReader.h"

#include <atomic>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Keeps the session in step with the login state file: applies what other processes have written, notifies the observers, and
/// writes what could not be written before.
///
/// Thread: any, with the login session lock free. Owner: the login session. Errors: false and log lines; what could not be read
/// or written is tried again after a pause.
class LoginStateFollower {
public:
    explicit LoginStateFollower(SessionState& state);

    /// Runs before every operation of a product, and costs one look at the file's stamp when the file has not changed. Waits at
    /// most `waitMs` milliseconds for a step of this process that holds the state; false when the step takes longer or the file
    /// could not be read. With a wait of 0 nothing is done before the login is restored.
    bool follow(int waitMs = 0);

    /// Writes what could not be written so far, for the last time, since the session ends.
    void saveRemainder();

private:
    struct Changes {
        bool hasRead = false;
        bool isSignedOut = false; ///< The previous user was signed out or replaced.
        bool isSignedIn = false;  ///< A user is signed in anew.
    };
    /// Applies the file and writes what is missing in it.
    [[nodiscard]] Changes exchangeWithFile(LockedState& state);
    [[nodiscard]] bool isUpToDate() const;
    [[nodiscard]] std::unique_ptr<LockedState> lockState(int waitMs) const;
    LoginStateReader::Followed applyFile(LockedState& state);

    SessionState& m_state;
    Log::ILogger& m_logger;
    std::atomic<bool> m_isApplying{false}; ///< A thread that holds the login session lock is applying the file.
};

} // namespace Velquor::WebServices::Internal
