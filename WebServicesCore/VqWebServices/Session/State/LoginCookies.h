#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <VqWebServices/NetworkCookieJar.h>

namespace Velquor::WebServices::Internal {

/// The encrypted form of the cookies that the browser got at the sign-in. Thread: any. Errors: an empty result, one log line.

/// A small XML document of the cookies, encrypted; empty for an empty jar.
[[nodiscard]] QByteArray encryptCookies(const NetworkCookieJar& jar, Util::ICryptor& cryptor, Log::ILogger& logger);

/// An empty jar when there is nothing to decrypt or it is damaged.
[[nodiscard]] NetworkCookieJar decryptCookies(const QByteArray& encrypted, Util::ICryptor& cryptor, Log::ILogger& logger);

} // namespace Velquor::WebServices::Internal
