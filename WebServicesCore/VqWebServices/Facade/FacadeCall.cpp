#include "Facade/FacadeCall.h"

#include <limits>

namespace Velquor::WebServices::Internal {

Log::CallFailure failureOf(const std::exception& exception) {
    if (dynamic_cast<const std::bad_alloc*>(&exception))
        return Log::CallFailure::NoMemory;
    return dynamic_cast<const std::length_error*>(&exception) ? Log::CallFailure::TooLong : Log::CallFailure::Fault;
}

bool mayUseNetwork(const char* refusal) {
    const WebServicesManagerImp& runtime = WebServicesManagerImp::instance();
    // While the library is not initialized the operation itself reports that.
    if (runtime.hasLogConfiguration() || !runtime.session())
        return true;
    Log::CallReport::fail(Log::CallFailure::NoLogConfiguration);
    Log::tellWithoutLog(QLatin1String(refusal));
    return false;
}

bool hasBuffer(const char* operation, const wchar_t* buffer, int size) {
    const bool isUsable = buffer && size > 0;
    if (!isUsable)
        Log::rootLogger().error(QStringLiteral("%1 failed. The buffer is null or has no size.").arg(QLatin1String(operation)));
    return isUsable;
}

bool reportSignedOut(const char* operation, LoginSession& session, const QString& clientKey, bool isDone) {
    if (!isDone && !session.isLoggedIn(clientKey)) {
        // An unknown client is named already.
        if (session.isClient(clientKey))
            Log::CallReport::fail(Log::CallFailure::NotSignedIn);
        Log::rootLogger().error(QStringLiteral("%1 failed. Not logged in.").arg(QLatin1String(operation)));
    }
    return isDone;
}

LoginError shortLoginError(LoginErrorEx error) {
    switch (error) {
    case LoginErrorEx::None: return LoginError::None;
    case LoginErrorEx::NoReply:
    case LoginErrorEx::NoSecureConnection: return LoginError::NoConnection;
    default: return LoginError::Other;
    }
}

unsigned int secondsSinceEpoch(const QDateTime& date) {
    if (!date.isValid())
        return 0;
    const qint64 seconds = date.toSecsSinceEpoch();
    return static_cast<unsigned int>(qBound<qint64>(0, seconds, std::numeric_limits<unsigned int>::max()));
}

} // namespace Velquor::WebServices::Internal
