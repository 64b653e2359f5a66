#pragma once

#include "VqUtil/Crypto/SecretBytes.h"

#include <QString>

namespace Velquor::Util {

/// A secret text that stays in memory for long: sealed under a random key of this process, opened for one call at a time.
///
/// What it protects against is the stray copy (a crash dump page, a swap page, a debug print), not a debugger in the process.
/// Copies are cheap and independent. Thread: any, one at a time for each object. Owner: the holder.
class ProtectedText {
public:
    ProtectedText() = default;
    explicit ProtectedText(const QString& clear) { set(clear); }

    void set(const QString& clear);
    [[nodiscard]] bool isEmpty() const { return m_sealed.isEmpty(); }

    /// The clear text in UTF-8; empty for the empty text and when the sealed bytes were damaged.
    [[nodiscard]] SecretBytes reveal() const;
    [[nodiscard]] QString toText() const { return reveal().toText(); }

    [[nodiscard]] bool operator==(const ProtectedText& other) const;
    [[nodiscard]] bool operator!=(const ProtectedText& other) const { return !(*this == other); }

private:
    QByteArray m_sealed;
};

} // namespace Velquor::Util
