#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/IRsaCryptor.h"

#include <memory>

namespace Velquor::Util {

/// The size of the modulus of the user's key in bytes (2048 bits).
constexpr int userKeyBlockSize = 256;

/// Opens the user's RSA key pair (2048 bits). The first call on a machine creates it.
///
/// Posix: an owner-only key file in `folder`, encrypted with the identity of machine and user. Windows: the CryptoAPI key
/// container of the user; `folder` is not used. Several processes may open it at once and get the same key.
/// Thread: any. Errors: a cryptor whose `blockSize()` is 0, and one log line that says why.
[[nodiscard]] std::shared_ptr<IRsaCryptor> openUserRsaCryptor(const QString& folder, const std::shared_ptr<Log::ILogger>& logger);

} // namespace Velquor::Util
