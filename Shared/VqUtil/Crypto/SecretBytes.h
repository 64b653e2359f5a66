#pragma once

#include "VqUtil/General/Utf8.h"

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// The clear text of a secret for the duration of one call. It cannot be copied, and is overwritten with zeros when destroyed.
///
/// Thread: one. Owner: the caller's stack. Never store it in an object that outlives the call.
class SecretBytes {
public:
    SecretBytes() = default;
    /// Takes the bytes. They must not be shared with another QByteArray: shared bytes are copied, and the original is not wiped.
    explicit SecretBytes(QByteArray&& bytes);
    static SecretBytes fromText(const QString& text) { return SecretBytes(text.toUtf8()); }

    SecretBytes(SecretBytes&& other) noexcept;
    SecretBytes& operator=(SecretBytes&& other) noexcept;
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
    ~SecretBytes();

    [[nodiscard]] bool isEmpty() const { return m_bytes.isEmpty(); }
    [[nodiscard]] int size() const { return m_bytes.size(); }
    [[nodiscard]] const char* data() const { return m_bytes.constData(); }
    [[nodiscard]] char* writable() { return m_bytes.data(); }

    /// A view without a copy, valid while this object exists.
    [[nodiscard]] QByteArray view() const { return QByteArray::fromRawData(m_bytes.constData(), m_bytes.size()); }

    /// The secret as UTF-16 text, for the caller of the library and for Qt. This copy is not wiped.
    [[nodiscard]] QString toText() const { return textFromUtf8(m_bytes); }

private:
    QByteArray m_bytes;
};

} // namespace Velquor::Util
