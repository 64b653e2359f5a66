#include "VqUtil/Messaging/MessageCodec.h"

#include "VqUtil/Messaging/MessageTags.h"

#include <QDateTime>
#include <QStringList>
#include <QtEndian>
#include <algorithm>
#include <cstring>

namespace Velquor::Util {

namespace {

using MessageTags::greatestDepth;
using MessageTags::Tag;

class Writer {
public:
    explicit Writer(QByteArray& bytes)
        : m_bytes(bytes) {}

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
    // By code units, so that text with invalid Unicode arrives unchanged.
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
    [[nodiscard]] bool list(const QVariantList& list, int depth);
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
    case QMetaType::QString:
        tag(Tag::Text);
        text(value.toString());
        return true;
    case QMetaType::QByteArray:
        tag(Tag::Bytes);
        bytes(value.toByteArray());
        return true;
    case QMetaType::QDateTime: return time(value.toDateTime());
    case QMetaType::QStringList: return texts(value.toStringList());
    case QMetaType::QVariantMap: tag(Tag::Map); return map(value.toMap(), depth + 1);
    case QMetaType::QVariantList: tag(Tag::List); return list(value.toList(), depth + 1);
    default: return false;
    }
}

bool Writer::real(double value) {
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return tagged(Tag::Double, bits);
}

// The receiver may not know the sender's time zone, so the message carries the offset at that time.
bool Writer::time(const QDateTime& time) {
    if (!time.isValid()) {
        tag(Tag::NoTime);
        return true;
    }
    const Tag kind = time.timeSpec() == Qt::UTC         ? Tag::UtcTime
                     : time.timeSpec() == Qt::LocalTime ? Tag::LocalTime
                                                        : Tag::OffsetTime;
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

bool Writer::list(const QVariantList& list, int depth) {
    number(static_cast<quint32>(list.size()));
    return depth <= greatestDepth
           && std::all_of(list.cbegin(), list.cend(), [this, depth](const QVariant& one) { return value(one, depth); });
}

} // namespace

std::optional<QByteArray> MessageCodec::encode(const Message& message) {
    QByteArray bytes;
    Writer writer(bytes);
    writer.text(message.name);
    if (!writer.map(message.params, 1))
        return std::nullopt;
    return bytes;
}

} // namespace Velquor::Util
