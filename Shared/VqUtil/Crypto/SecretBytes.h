#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// Clear text of a secret for the length of one call: move-only, and overwritten with zeros when it goes.
///
/// Thread: one. Owner: the caller on its stack. Never store one in an object that outlives the call.
class SecretBytes {
public:
    SecretBytes() = default;
    /// Takes the bytes over; `bytes` must not be shared with another QByteArray (a shared one is copied, not wiped).
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

    /// A view without a copy; valid while this object lives.
    [[nodiscard]] QByteArray view() const { return QByteArray::fromRawData(m_bytes.constData(), m_bytes.size()); }

    /// The secret as UTF-16 text: a copy that is not wiped, for the boundary to the caller and to Qt.
    [[nodiscard]] QString toText() const { return QString::fromUtf8(m_bytes); }

private:
    QByteArray m_bytes;
};

} // namespace Velquor::Util
