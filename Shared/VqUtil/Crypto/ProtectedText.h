#pragma once

#include "VqUtil/Crypto/SecretBytes.h"

#include <QString>

namespace Velquor::Util {

/// A secret text that stays in memory for long. It is sealed under a random key of this process and opened for one call at a
/// time.
///
/// It protects against stray copies (crash dump, swap file, debug print), not against a debugger in the process.
/// Copies are cheap and independent. Thread: any, one at a time per object. Owner: the holder.
class ProtectedText {
public:
    ProtectedText() = default;
    explicit ProtectedText(const QString& clear) { set(clear); }

    void set(const QString& clear);
    [[nodiscard]] bool isEmpty() const { return m_sealed.isEmpty(); }

    /// The clear text in UTF-8; empty for the empty text and when the sealed bytes are damaged.
    [[nodiscard]] SecretBytes reveal() const;
    [[nodiscard]] QString toText() const { return reveal().toText(); }

    [[nodiscard]] bool operator==(const ProtectedText& other) const;
    [[nodiscard]] bool operator!=(const ProtectedText& other) const { return !(*this == other); }

private:
    QByteArray m_sealed;
};

} // namespace Velquor::Util
