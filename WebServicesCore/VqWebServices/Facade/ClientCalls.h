#pragma once

#include "Facade/SigningArguments.h"
#include "Session/Operations/SignInFlow.h"

#include <functional>

namespace Velquor::WebServices::Internal {

/// The operations of a client that have an effect and give a text, as the interfaces in C++ and C share them: each converts the
/// text its own way, and neither does the work twice for the sake of a buffer.
///
/// Thread: any. Errors: the failure result and one log line; no exception.

[[nodiscard]] InitiatedLogin initiateLogin(const QString& clientKey, const QString& userName);
[[nodiscard]] bool initiateLogout(const QString& clientKey, QString& url, NetworkCookieJar& cookies);

/// The access token; empty on failure.
[[nodiscard]] Util::SecretBytes accessToken(const QString& clientKey, bool checkExpiry);

/// Signs what the caller's arguments are converted to; empty on failure. `shownUrl` gives the URL as the caller wrote it, for the
/// log.
[[nodiscard]] QByteArray signRequest(const QString& clientKey, const std::function<Util::Result<SigningTexts>()>& convert,
                                     const std::function<QString()>& shownUrl, bool checkExpiry);

} // namespace Velquor::WebServices::Internal
