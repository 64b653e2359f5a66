#pragma once

#include "Network/UrlStore.h"
#include "Signing/IVqOAuthHost.h"
#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <QDateTime>
#include <functional>
#include <memory>

namespace Velquor::WebServices {

/// What the login session and its helpers need of the floors below; the same for all of them. A plain value.
struct SessionServices {
    std::shared_ptr<Util::ICryptor> cryptor;
    /// The block size of the cryptor's RSA key in bytes, which bounds the texts that are encrypted as one block.
    int cipherBlockSize = 0;
    /// The longest text that is encrypted as one block: what PKCS #1 v1.5 padding would leave, whatever padding is used.
    [[nodiscard]] int maximumBlockText() const { return cipherBlockSize - 11; }
    std::shared_ptr<OAuth::IVqOAuthHost> oauthHost;
    UrlStore* urls = nullptr;
    std::shared_ptr<Log::ILogger> logger;        ///< "VqWebServices.Session"
    std::shared_ptr<Log::ILogger> networkLogger; ///< "VqWebServices.Network"
    std::function<QDateTime()> now = [] { return QDateTime::currentDateTimeUtc(); };
    int exchangeTimeoutMs = 60000; ///< The limit of one exchange with the account server.
    QString loginStateFile;
    QString savedBy; ///< The name of this program, for "LastSavedBy".
};

} // namespace Velquor::WebServices
