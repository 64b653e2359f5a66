#include "VqUtil/Ipc/MessageCodec.h"

#include <QDateTime>
#include <QStringList>
#include <QtEndian>
#include <cstring>

namespace Velquor::Util {

namespace {

constexpr int greatestDepth = 8;

// Numbers of the format; they never change.
enum class Tag : quint8 { None = 0, Bool = 1, Int = 2, UInt = 3, LongLong = 4, ULongLong = 5, Double = 6, Text = 7, Bytes = 8,
                          UtcTime = 9, LocalTime = 10, OffsetTime = 11, Texts = 12, Map = 13, NoTime = 14 };

class Writer {
public:
    explicit Writer(QByteArray* bytes)
        : m_bytes(*bytes) {}

    template <typename Number>
    void number(Number value) {
        const Number ordered = qToBigEndian(value);
        m_bytes.append(reinterpret_cast<const char*>(&ordered), static_cast<int>(sizeof ordered));
    }
    void tag(Tag tag) { number(static_cast<quint8>(tag)); }
    void bytes(const QByteArray& value) {
        number(static_cast<quint32>(value.size()));
        m_bytes.append(value);
    }
    // By code units, so that a text that is no valid Unicode comes through as it is.
    void text(const QString& value) {
        number(static_cast<quint32>(value.size()));
        for (const QChar unit : value)
            number(static_cast<quint16>(unit.unicode()));
    }
    template <typename Number>
    bool tagged(Tag kind, Number value) {
        tag(kind);
        number(value);
        return true;
    }

    [[nodiscard]] bool value(const QVariant& value, int depth);
    [[nodiscard]] bool map(const QVariantMap& map, int depth);
    bool time(const QDateTime& time);
    bool real(double value);
    bool texts(const QStringList& texts);

private:
    QByteArray& m_bytes;
};

bool Writer::value(const QVariant& value, int depth) {
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::UnknownType: tag(Tag::None); return true;
    case QMetaType::Bool: return tagged<quint8>(Tag::Bool, value.toBool() ? 1 : 0);
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int: return tagged<qint32>(Tag::Int, value.toInt());
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt: return tagged<quint32>(Tag::UInt, value.toUInt());
    case QMetaType::Long:
    case QMetaType::LongLong: return tagged<qint64>(Tag::LongLong, value.toLongLong());
    case QMetaType::ULong:
    case QMetaType::ULongLong: return tagged<quint64>(Tag::ULongLong, value.toULongLong());
    case QMetaType::Float:
    case QMetaType::Double: return real(value.toDouble());
    case QMetaType::QString: tag(Tag::Text); text(value.toString()); return true;
    case QMetaType::QByteArray: tag(Tag::Bytes); bytes(value.toByteArray()); return true;
    case QMetaType::QDateTime: return time(value.toDateTime());
    case QMetaType::QStringList: return texts(value.toStringList());
    case QMetaType::QVariantMap: tag(Tag::Map); return map(value.toMap(), depth + 1);
    default: return false;
    }
}

bool Writer::real(double value) {
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return tagged(Tag::Double, bits);
}

// A time zone is the sender's; its offset at that moment travels in its place.
bool Writer::time(const QDateTime& time) {
    if (!time.isValid()) {
        tag(Tag::NoTime);
        return true;
    }
    const Tag kind = time.timeSpec() == Qt::UTC ? Tag::UtcTime : time.timeSpec() == Qt::LocalTime ? Tag::LocalTime : Tag::OffsetTime;
    tagged<qint64>(kind, time.toMSecsSinceEpoch());
    if (kind == Tag::OffsetTime)
        number(static_cast<qint32>(time.offsetFromUtc()));
    return true;
}

bool Writer::texts(const QStringList& texts) {
    tagged(Tag::Texts, static_cast<quint32>(texts.size()));
    for (const QString& one : texts)
        text(one);
    return true;
}

bool Writer::map(const QVariantMap& map, int depth) {
    if (depth > greatestDepth)
        return false;
    number(static_cast<quint32>(map.size()));
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        text(entry.key());
        if (!value(entry.value(), depth))
            return false;
    }
    return true;
}

/// Walks over the bytes and never past their end.
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
    constexpr qint64 farthest = 400000000000000; // about 12,000 years, which every conversion takes
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

// Every text takes bytes, so that the end of the message ends this loop whatever the count says.
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

bool MessageCodec::encode(const Message& message, QByteArray* bytes) {
    Writer writer(bytes);
    writer.text(message.name);
    return writer.map(message.params, 1);
}

bool MessageCodec::decode(const QByteArray& bytes, Message* message) {
    Reader reader(bytes);
    return reader.text(&message->name) && reader.map(&message->params, 1) && reader.isAtEnd();
}

} // namespace Velquor::Util
