#pragma once

#include "VqUtil/Crypto/SecretBytes.h"

namespace Velquor::Util {

/// Seals secrets in the memory of this process under a random key that never leaves it.
///
/// It exists because an operation with the user's RSA key takes about a millisecond, and this one about a microsecond.
/// Thread: any. Owner: the process.
class ProcessSeal {
public:
    static const ProcessSeal& instance();

    /// Empty when sealing failed.
    [[nodiscard]] QByteArray seal(const QByteArray& clear) const;
    /// Empty when the bytes were not sealed by this process or are damaged.
    [[nodiscard]] SecretBytes open(const QByteArray& sealed) const;

private:
    ProcessSeal();
    SecretBytes m_key;
};

} // namespace Velquor::Util
