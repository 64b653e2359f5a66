#pragma once

#include "Facade/WebServicesManagerImp.h"
#include "VqLog/CallReport.h"
#include "VqLog/LoggerWrapper.h"

#include <exception>
#include <new>
#include <stdexcept>

namespace Velquor::WebServices::Internal {

/// How an exception is named to a caller who asks for the reason.
[[nodiscard]] Log::CallFailure failureOf(const std::exception& exception);

/// Runs one operation of a facade and catches every exception: none may reach the host. Thread: any. Errors: the failure result
/// and one log line.
template <class Result, class Work>
Result guarded(const char* operation, Result failure, const Work& work) {
    try {
        return work();
    } catch (const std::exception& exception) {
        Log::CallReport::fail(failureOf(exception));
        Log::rootLogger().error(
            QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), QString::fromLocal8Bit(exception.what())));
    } catch (...) {
        Log::CallReport::fail(Log::CallFailure::Fault);
        Log::rootLogger().error(QStringLiteral("%1 failed. Unknown exception.").arg(QLatin1String(operation)));
    }
    return failure;
}

/// `guarded` for an operation without a result.
template <class Work>
void guarded(const char* operation, const Work& work) {
    (void)guarded(operation, false, [&work] {
        work();
        return true;
    });
}

/// Runs one operation of a facade on the current session, with the state that is in memory. It keeps the session alive until the
/// operation returns, also during an `Uninitialize` on another thread. Without a session (the library is not initialized) it
/// gives the failure result and one log line.
///
/// Use it only for operations that must not read the login state file or call observers: adding and removing observers, raising
/// an event, proxy credentials, the dumps for support, and `CompleteLogout`, which ends the sign-in that this process knows.
/// Thread: any. Errors: as `guarded`.
///
/// `refusal` makes the log line of a call without a session; without it the line is the one of all operations.
template <class Result, class Work, class Refusal>
Result withSessionAsIs(const char* operation, Result failure, const Work& work, const Refusal& refusal) {
    return guarded(operation, failure, [&]() -> Result {
        if (const auto session = WebServicesManagerImp::instance().session())
            return work(*session);
        Log::CallReport::fail(Log::CallFailure::NotInitialized);
        Log::rootLogger().error(refusal());
        return failure;
    });
}

template <class Result, class Work>
Result withSessionAsIs(const char* operation, Result failure, const Work& work) {
    return withSessionAsIs(operation, failure, work, [operation] {
        return QStringLiteral("%1 failed. Module not initialized or already uninitialized.").arg(QLatin1String(operation));
    });
}

/// Runs one operation of a facade on the current session, after the session has applied the changes that other processes have
/// made to the login state file. So the operation starts from the latest sign-in or sign-out of the user. It may call observers
/// before the operation runs. All operations use it, with the exceptions that `withSessionAsIs` names. Thread: any. Errors: as
/// `withSessionAsIs`.
template <class Result, class Work, class... Refusal>
Result withSession(const char* operation, Result failure, const Work& work, const Refusal&... refusal) {
    const auto followAndWork = [&work](LoginSession& session) -> Result {
        session.followFile();
        return work(session);
    };
    return withSessionAsIs(operation, failure, followAndWork, refusal...);
}

/// True when the caller's buffer can take a text; otherwise logs one line.
[[nodiscard]] bool hasBuffer(const char* operation, const wchar_t* buffer, int size);

/// Logs one line when an operation that needs a signed-in user has failed without one; gives back whether it is done. Thread:
/// any.
bool reportSignedOut(const char* operation, LoginSession& session, const QString& clientKey, bool isDone);

/// The facade whose operations name their client. The operations without a client key call it with `defaultKey()`. Thread: any.
[[nodiscard]] inline WebServicesManagerEx& keyed() {
    return WebServicesManagerImp::instance();
}

/// The key of the process's default client. Thread: any.
[[nodiscard]] inline QString defaultKey() {
    return WebServicesManagerImp::defaultClientKey();
}

/// True when an operation may use the network. False when the log configuration was missing at start-up. Then there is no log,
/// and `refusal` goes to the caller who can ask for the reason, or to the standard output.
[[nodiscard]] bool mayUseNetwork(const char* refusal);

/// Maps the reason of a failed `InitiateLogin` to its short form.
[[nodiscard]] LoginError shortLoginError(LoginErrorEx error);

/// Seconds since 1970-01-01 UTC, limited to the range of the result; 0 for an invalid date.
[[nodiscard]] unsigned int secondsSinceEpoch(const QDateTime& date);

} // namespace Velquor::WebServices::Internal
