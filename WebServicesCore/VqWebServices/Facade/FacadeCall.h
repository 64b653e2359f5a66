#pragma once

#include "Facade/WebServicesManagerImp.h"
#include "VqLog/LoggerWrapper.h"

#include <exception>

namespace Velquor::WebServices::Internal {

/// Runs one operation of a facade: nothing is thrown to the caller. Thread: any. Errors: the failure result and one log line.
template <class Result, class Work>
Result guarded(const char* operation, Result failure, const Work& work) {
    try {
        return work();
    } catch (const std::exception& exception) {
        Log::rootLogger().error(
            QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), QString::fromLocal8Bit(exception.what())));
    } catch (...) {
        Log::rootLogger().error(QStringLiteral("%1 failed. Unknown exception.").arg(QLatin1String(operation)));
    }
    return failure;
}

/// The same for an operation without a result.
template <class Work>
void guarded(const char* operation, const Work& work) {
    (void)guarded(operation, false, [&work] {
        work();
        return true;
    });
}

/// Runs one operation of a facade on the session of this moment, as it is in memory; a call while the library is not initialized
/// has its failure result and one log line too. For operations that must neither read the file nor call an observer, such as the
/// removal of an observer. Thread: any.
template <class Result, class Work>
Result withSessionAsIs(const char* operation, Result failure, const Work& work) {
    return guarded(operation, failure, [&]() -> Result {
        if (const auto session = WebServicesManagerImp::instance().session())
            return work(*session);
        Log::rootLogger().error(
            QStringLiteral("%1 failed. Module not initialized or already uninitialized.").arg(QLatin1String(operation)));
        return failure;
    });
}

/// The same after the session has applied what other processes have written to the login state file: every operation of a product
/// starts from the latest state. Thread: any.
template <class Result, class Work>
Result withSession(const char* operation, Result failure, const Work& work) {
    return withSessionAsIs(operation, failure, [&](LoginSession& session) -> Result {
        session.followFile();
        return work(session);
    });
}

/// The facade whose operations name their client. The operations without a client key call it with `defaultKey()`. Thread: any.
[[nodiscard]] inline WebServicesManagerEx& keyed() {
    return WebServicesManagerImp::instance();
}

/// The key of the process's default client. Thread: any.
[[nodiscard]] inline QString defaultKey() {
    return WebServicesManagerImp::defaultClientKey();
}

/// Refuses an operation that needs the network when the log configuration was missing at start-up; since no log exists, the
/// refusal is a line on the standard output. Returns true when the operation may go on.
[[nodiscard]] bool mayUseNetwork(const char* refusal);

/// The short form of a reason why a sign-in could not be initiated.
[[nodiscard]] LoginError shortLoginError(LoginErrorEx error);

/// Seconds since 1970-01-01 UTC in the range of the result; 0 for an invalid date.
[[nodiscard]] unsigned int secondsSinceEpoch(const QDateTime& date);

} // namespace Velquor::WebServices::Internal
