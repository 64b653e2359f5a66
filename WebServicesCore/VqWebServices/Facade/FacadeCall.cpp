#include "Facade/FacadeCall.h"

#include <cstdio>
#include <limits>

namespace Velquor::WebServices::Internal {

bool mayUseNetwork(const char* refusal) {
    const WebServicesManagerImp& runtime = WebServicesManagerImp::instance();
    // While the library is not initialized the operation itself reports that.
    if (runtime.hasLogConfiguration() || !runtime.session())
        return true;
    std::puts(refusal);
    std::fflush(stdout);
    return false;
}

bool hasBuffer(const char* operation, const wchar_t* buffer, int size) {
    const bool isUsable = buffer && size > 0;
    if (!isUsable)
        Log::rootLogger().error(QStringLiteral("%1 failed. The buffer is null or has no size.").arg(QLatin1String(operation)));
    return isUsable;
}

bool reportSignedOut(const char* operation, LoginSession& session, const QString& clientKey, bool isDone) {
    if (!isDone && !session.isLoggedIn(clientKey))
        Log::rootLogger().error(QStringLiteral("%1 failed. Not logged in.").arg(QLatin1String(operation)));
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
