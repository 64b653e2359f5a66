#pragma once

#include "Runtime/WebServicesManagerImp.h"
#include "VqLog/LoggerWrapper.h"

#include <exception>

namespace Velquor::WebServices {

/// Runs one operation of a facade on the session of this moment: nothing is thrown to the caller, and a call while the library is
/// not initialized has its failure result and one log line. Thread: any.
template <class Result, class Work>
Result withSession(const char* operation, Result failure, const Work& work) {
    const auto session = WebServicesManagerImp::instance().session();
    QString reason = QStringLiteral("Module not initialized or already uninitialized.");
    try {
        if (session)
            return work(*session);
    } catch (const std::exception& exception) {
        reason = QString::fromLocal8Bit(exception.what());
    } catch (...) {
        reason = QStringLiteral("Unknown exception.");
    }
    Log::rootLogger().error(QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), reason));
    return failure;
}

/// Refuses an operation that needs the network when the log configuration was missing at start-up; since no log exists, the
/// refusal is a line on the standard output. Returns true when the operation may go on.
[[nodiscard]] bool mayUseNetwork(const char* refusal);

/// The short form of a reason why a sign-in could not be initiated.
[[nodiscard]] LoginError shortLoginError(LoginErrorEx error);

/// Seconds since 1970-01-01 UTC in the range of the result; 0 for an invalid date.
[[nodiscard]] unsigned int secondsSinceEpoch(const QDateTime& date);

} // namespace Velquor::WebServices
