#pragma once

#include "Signing/ICryptoProvider.h"
#include "Signing/IVqOAuthHost.h"
#include "Time/ITimeProvider.h"
#include "VqLog/ILogger.h"

#include <memory>

namespace Velquor::OAuth {

/// The services of the signer in this library. Thread: any. Owner: shared by the signers.
class VqOAuthHost : public IVqOAuthHost {
public:
    /// Without a crypto provider nothing can be signed. Without a time provider, or when it has no time, the system's clock is
    /// used; the second case is logged if there is a logger.
    VqOAuthHost(std::shared_ptr<ICryptoProvider> crypto, std::shared_ptr<ITimeProvider> time,
                std::shared_ptr<Log::ILogger> logger = {});

    [[nodiscard]] QByteArray UrlEncode(const QByteArray& text) const override;
    [[nodiscard]] QByteArray GenerateNonce() const override;
    [[nodiscard]] qint64 GetTimestamp() const override;
    [[nodiscard]] QByteArray Base64Encode(const QByteArray& bytes) const override;
    int HmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) const override;

private:
    const std::shared_ptr<ICryptoProvider> m_crypto;
    const std::shared_ptr<ITimeProvider> m_time;
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::OAuth
