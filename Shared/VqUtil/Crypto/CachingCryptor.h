#pragma once

#include "VqUtil/Crypto/ICryptor.h"

#include <QCache>
#include <QMutex>
#include <memory>

namespace Velquor::Util {

/// A cryptor that remembers what it decrypted or encrypted lately, so that secrets in constant use cost no RSA operation.
///
/// What it remembers is sealed under the key of the process. Bounded to 1 MiB, the least used go first; a failed decryption is
/// not remembered. Thread: any. Owner: shared by its users.
class CachingCryptor : public ICryptor {
public:
    explicit CachingCryptor(std::shared_ptr<ICryptor> inner);

    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override;
    [[nodiscard]] SecretBytes decrypt(const QByteArray& text) override;

private:
    [[nodiscard]] SecretBytes remembered(const QByteArray& text);
    void remember(const QByteArray& text, const QByteArray& clear);

    const std::shared_ptr<ICryptor> m_inner;
    QMutex m_mutex;
    QCache<QByteArray, QByteArray> m_sealedByText;
};

} // namespace Velquor::Util
