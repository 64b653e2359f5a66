#pragma once

#include <QByteArray>
#include <QString>
#include <QtEndian>

namespace Velquor::Util {

/// Reads values as `QDataStream` writes them, and never past the end of the bytes. A read that fails does not advance.
/// Thread: one at a time. Owner: the stack of a decoder; the bytes outlive it.
class BoundedReader {
public:
    explicit BoundedReader(const QByteArray& bytes)
        : m_bytes(bytes) {}

    [[nodiscard]] int place() const { return m_place; }
    [[nodiscard]] int left() const { return m_bytes.size() - m_place; }
    /// What was read since `place`.
    [[nodiscard]] QByteArray since(int place) const { return m_bytes.mid(place, m_place - place); }

    template <typename Number>
    [[nodiscard]] bool number(Number* value) {
        if (left() < static_cast<int>(sizeof(Number)))
            return false;
        *value = qFromBigEndian<Number>(m_bytes.constData() + m_place);
        m_place += static_cast<int>(sizeof(Number));
        return true;
    }

    [[nodiscard]] bool skip(quint32 size) {
        if (size > static_cast<quint32>(left()))
            return false;
        m_place += static_cast<int>(size);
        return true;
    }

    [[nodiscard]] bool text(QString* value) {
        const int start = m_place;
        quint32 length = 0;
        if (!number(&length))
            return false;
        if (length == nullLength) {
            *value = QString();
            return true;
        }
        const int textStart = m_place;
        if (length % sizeof(QChar) != 0 || !skip(length)) {
            m_place = start;
            return false;
        }
        const int count = static_cast<int>(length / sizeof(QChar));
        *value = QString(count, Qt::Uninitialized);
        qFromBigEndian<quint16>(m_bytes.constData() + textStart, count, value->data());
        return true;
    }

    /// The length that stands for a null text or byte array.
    static constexpr quint32 nullLength = 0xffffffff;

private:
    const QByteArray& m_bytes;
    int m_place = 0;
};

} // namespace Velquor::Util
