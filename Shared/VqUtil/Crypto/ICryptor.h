#pragma once

#include "VqUtil/Crypto/SecretBytes.h"

namespace Velquor::Util {

/// Encrypts the secrets that are kept in files and in memory.
///
/// Encryption is authenticated. A changed or truncated text, another key, another user or another machine gives an empty result
/// and one log line, never a wrong text. The encrypted form is Base64, safe in XML and JSON. Thread: any. Owner: shared by its
/// users.
class ICryptor {
public:
    virtual ~ICryptor() = default;

    /// Base64 text of the encrypted bytes. Empty when `clear` is empty or encryption failed (one log line).
    [[nodiscard]] virtual QByteArray encrypt(const QByteArray& clear) = 0;

    /// The clear bytes. Empty when `text` is empty, damaged, or was not encrypted with this key (one log line).
    [[nodiscard]] virtual SecretBytes decrypt(const QByteArray& text) = 0;

    /// False when there is no key now: then an empty result says nothing about a text.
    [[nodiscard]] virtual bool isUsable() { return true; }
};

} // namespace Velquor::Util
