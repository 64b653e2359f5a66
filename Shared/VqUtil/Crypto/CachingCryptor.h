#pragma once

#include "VqUtil/Crypto/ICryptor.h"

#include <QCache>
#include <QMutex>
#include <memory>

namespace Velquor::Util {

/// A cryptor with a cache of recent results, so that a secret in constant use costs no RSA operation.
///
/// The cached secrets are sealed under the key of the process. The cache is limited to 1 MiB and drops the least recently used
/// secrets first. A failed decryption is not cached. Thread: any. Owner: shared by its users.
class CachingCryptor : public ICryptor {
public:
    explicit CachingCryptor(std::shared_ptr<ICryptor> inner);

    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override;
    [[nodiscard]] SecretBytes decrypt(const QByteArray& text) override;
    [[nodiscard]] bool isUsable() override { return m_inner->isUsable(); }

private:
    [[nodiscard]] SecretBytes remembered(const QByteArray& text);
    void remember(const QByteArray& text, const QByteArray& clear);

    const std::shared_ptr<ICryptor> m_inner;
    QMutex m_mutex;
    QCache<QByteArray, QByteArray> m_sealedByText;
};

} // namespace Velquor::Util
