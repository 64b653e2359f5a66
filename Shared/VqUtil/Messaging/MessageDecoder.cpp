#include "VqUtil/Messaging/MessageCodec.h"

#include "VqUtil/Messaging/MessageTags.h"

#include <QDateTime>
#include <QStringList>
#include <QtEndian>
#include <cstring>

namespace Velquor::Util {

namespace {

using MessageTags::greatestDepth;
using MessageTags::Tag;

/// Reads values and never past the end of the bytes.
class Reader {
public:
    explicit Reader(const QByteArray& bytes)
        : m_bytes(bytes) {}

    [[nodiscard]] bool isAtEnd() const { return m_place == m_bytes.size(); }

    template <typename Number>
    [[nodiscard]] bool number(Number* value) {
        if (left() < sizeof(Number))
            return false;
        *value = qFromBigEndian<Number>(m_bytes.constData() + m_place);
        m_place += static_cast<int>(sizeof(Number));
        return true;
    }
    [[nodiscard]] bool text(QString* value) {
        quint32 length = 0;
        if (!number(&length) || length > left() / sizeof(QChar))
            return false;
        *value = QString(static_cast<int>(length), Qt::Uninitialized);
        qFromBigEndian<quint16>(m_bytes.constData() + m_place, static_cast<int>(length), value->data());
        m_place += static_cast<int>(length * sizeof(QChar));
        return true;
    }
    [[nodiscard]] bool map(QVariantMap* map, int depth);

private:
    [[nodiscard]] quint32 left() const { return static_cast<quint32>(m_bytes.size() - m_place); }
    template <typename Number>
    [[nodiscard]] bool into(QVariant* value) {
        Number held = 0;
        const bool isRead = number(&held);
        *value = held;
        return isRead;
    }
    [[nodiscard]] bool value(QVariant* value, int depth);
    [[nodiscard]] bool truth(QVariant* value);
    [[nodiscard]] bool real(QVariant* value);
    [[nodiscard]] bool bytes(QVariant* value);
    [[nodiscard]] bool time(Tag kind, QVariant* value);
    [[nodiscard]] bool texts(QVariant* value);
    [[nodiscard]] bool list(QVariant* value, int depth);

    const QByteArray& m_bytes;
    int m_place = 0;
};

bool Reader::value(QVariant* value, int depth) {
    quint8 tag = 0;
    if (!number(&tag))
        return false;
    switch (static_cast<Tag>(tag)) {
    case Tag::None: *value = QVariant(); return true;
    case Tag::Bool: return truth(value);
    case Tag::Int: return into<qint32>(value);
    case Tag::UInt: return into<quint32>(value);
    case Tag::LongLong: return into<qint64>(value);
    case Tag::ULongLong: return into<quint64>(value);
    case Tag::Double: return real(value);
    case Tag::Text: {
        QString read;
        const bool isRead = text(&read);
        *value = read;
        return isRead;
    }
    case Tag::Bytes: return bytes(value);
    case Tag::UtcTime:
    case Tag::LocalTime:
    case Tag::OffsetTime: return time(static_cast<Tag>(tag), value);
    case Tag::NoTime: *value = QDateTime(); return true;
    case Tag::Texts: return texts(value);
    case Tag::Map: {
        QVariantMap read;
        const bool isRead = map(&read, depth + 1);
        *value = read;
        return isRead;
    }
    case Tag::List: return list(value, depth + 1);
    }
    return false;
}

bool Reader::truth(QVariant* value) {
    quint8 held = 0;
    const bool isRead = number(&held) && held <= 1;
    *value = held == 1;
    return isRead;
}

bool Reader::real(QVariant* value) {
    quint64 bits = 0;
    const bool isRead = number(&bits);
    double held = 0;
    std::memcpy(&held, &bits, sizeof held);
    *value = held;
    return isRead;
}

bool Reader::bytes(QVariant* value) {
    quint32 length = 0;
    if (!number(&length) || length > left())
        return false;
    *value = m_bytes.mid(m_place, static_cast<int>(length));
    m_place += static_cast<int>(length);
    return true;
}

bool Reader::time(Tag kind, QVariant* value) {
    constexpr qint64 farthest = 400000000000000; // about 12,000 years: within the range of every conversion of QDateTime
    qint64 ms = 0;
    qint32 offset = 0;
    if (!number(&ms) || ms > farthest || ms < -farthest || (kind == Tag::OffsetTime && !number(&offset)))
        return false;
    if (offset < -24 * 3600 || offset > 24 * 3600)
        return false;
    const Qt::TimeSpec spec = kind == Tag::UtcTime ? Qt::UTC : kind == Tag::LocalTime ? Qt::LocalTime : Qt::OffsetFromUTC;
    *value = QDateTime::fromMSecsSinceEpoch(ms, spec, offset);
    return true;
}

// The count may be wrong. Every text takes at least four bytes, so the loop ends with the message at the latest.
bool Reader::texts(QVariant* value) {
    quint32 count = 0;
    if (!number(&count))
        return false;
    QStringList read;
    for (quint32 index = 0; index < count; ++index) {
        QString one;
        if (!text(&one))
            return false;
        read += one;
    }
    *value = read;
    return true;
}

// As for texts: every value takes at least one byte.
bool Reader::list(QVariant* value, int depth) {
    quint32 count = 0;
    if (depth > greatestDepth || !number(&count))
        return false;
    QVariantList read;
    for (quint32 index = 0; index < count; ++index) {
        QVariant one;
        if (!this->value(&one, depth))
            return false;
        read.append(one);
    }
    *value = read;
    return true;
}

bool Reader::map(QVariantMap* map, int depth) {
    quint32 count = 0;
    if (depth > greatestDepth || !number(&count))
        return false;
    for (quint32 index = 0; index < count; ++index) {
        QString key;
        QVariant held;
        if (!text(&key) || !value(&held, depth))
            return false;
        map->insert(key, held);
    }
    return true;
}

} // namespace

std::optional<MessageCodec::Message> MessageCodec::decode(const QByteArray& bytes) {
    Reader reader(bytes);
    Message message;
    if (!reader.text(&message.name) || !reader.map(&message.params, 1) || !reader.isAtEnd())
        return std::nullopt;
    return message;
}

} // namespace Velquor::Util
