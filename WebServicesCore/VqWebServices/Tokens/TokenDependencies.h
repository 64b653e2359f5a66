#pragma once

#include "Network/Urls/UrlStore.h"
#include "Signing/IVqOAuthHost.h"
#include "Values/Loggers.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <QDateTime>
#include <chrono>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// What those who handle tokens need of the floors below; the same for all of them. A plain value.
struct TokenDependencies {
    std::shared_ptr<Util::ICryptor> cryptor;
    std::shared_ptr<OAuth::IVqOAuthHost> oauthHost;
    UrlStore* urls = nullptr;
    Loggers loggers; ///< All set; those of a product's session write with its prefix.
    std::function<QDateTime()> now = [] { return QDateTime::currentDateTimeUtc(); };
    /// Nanoseconds of a clock that only goes forward.
    std::function<qint64()> steadyClock = [] {
        return qint64(
            std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count());
    };
    /// Told when a server refused the time in a request.
    std::function<void()> clockProblemSeen = [] {};
    int tokenTimeoutMs = 61000; ///< The limit of one token request, and of the wait for it.
    QString lockFolder;         ///< Where the locks between processes live.
    QString cacheFile;          ///< Set by the session: beside the login state file.
};

} // namespace Velquor::WebServices::Internal
