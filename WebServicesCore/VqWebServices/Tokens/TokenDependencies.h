#pragma once

#include "Network/SystemNetwork.h"
#include "Network/Urls/UrlStore.h"
#include "Signing/IVqOAuthHost.h"
#include "Tokens/SystemRequestClaims.h"
#include "Values/Loggers.h"
#include "VqUtil/Crypto/ICryptor.h"
#include "VqUtil/General/SteadyTimer.h"
#include "VqUtil/Threads/SystemThreads.h"

#include <QDateTime>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// What all token workers need of the layers below. A plain value.
struct TokenDependencies {
    std::shared_ptr<Util::ICryptor> cryptor;
    std::shared_ptr<OAuth::IVqOAuthHost> oauthHost;
    UrlStore* urls = nullptr;
    Loggers loggers; ///< All set; the loggers of a product's session write its prefix.
    std::function<QDateTime()> now = [] { return QDateTime::currentDateTimeUtc(); };
    Util::SteadyClock steadyClock = Util::systemSteadyClock;
    std::shared_ptr<INetwork> network = std::make_shared<SystemNetwork>();
    std::shared_ptr<IRequestClaims> claims = std::make_shared<SystemRequestClaims>();
    std::shared_ptr<Util::IThreads> threads = std::make_shared<Util::SystemThreads>();
    /// Called when a server refused the time in a request.
    std::function<void()> clockProblemSeen = [] {};
    int tokenTimeoutMs = 61000; ///< The limit of one token request, and of the wait for it.
    QString lockFolder;         ///< The folder of the locks between processes.
    QString cacheFile;          ///< Set by the session; in the folder of the login state file.
};

} // namespace Velquor::WebServices::Internal
