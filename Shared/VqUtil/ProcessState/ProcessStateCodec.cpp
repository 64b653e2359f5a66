#include "VqUtil/ProcessState/ProcessStateCodec.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>
#include <iterator>

namespace Velquor::Util {

namespace {

constexpr quint32 nullText = 0xffffffff;

/// Reads values and never past the end of the bytes. A read that fails does not advance.
class BoundedReader {
public:
    explicit BoundedReader(const QByteArray& bytes)
        : m_bytes(bytes) {}

    [[nodiscard]] int place() const { return m_place; }
    [[nodiscard]] int left() const { return m_bytes.size() - m_place; }

    template <typename Number>
    [[nodiscard]] bool number(Number* value) {
        if (left() < static_cast<int>(sizeof(Number)))
            return false;
        *value = qFromBigEndian<Number>(m_bytes.constData() + m_place);
        m_place += static_cast<int>(sizeof(Number));
        return true;
    }

    [[nodiscard]] bool text(QString* value) {
        const int start = m_place;
        quint32 length = 0;
        if (!number(&length))
            return false;
        if (length == nullText) {
            *value = QString();
            return true;
        }
        if (length % sizeof(QChar) != 0 || length > static_cast<quint32>(left())) {
            m_place = start;
            return false;
        }
        const int count = static_cast<int>(length / sizeof(QChar));
        *value = QString(count, Qt::Uninitialized);
        qFromBigEndian<quint16>(m_bytes.constData() + m_place, count, value->data());
        m_place += static_cast<int>(length);
        return true;
    }

private:
    const QByteArray& m_bytes;
    int m_place = 0;
};

template <typename Written, typename Held = Written>
bool readNumber(BoundedReader& reader, QVariant* value) {
    Written number = 0;
    if (!reader.number(&number))
        return false;
    *value = QVariant::fromValue(static_cast<Held>(number));
    return true;
}

bool readText(BoundedReader& reader, QVariant* value) {
    QString text;
    if (!reader.text(&text))
        return false;
    *value = text;
    return true;
}

// The length of any other type is unknown here, so reading must stop at it.
bool readValue(BoundedReader& reader, QVariant* value) {
    quint32 type = 0;
    qint8 isNull = 0;
    if (!reader.number(&type) || !reader.number(&isNull))
        return false;
    switch (type) {
    case QMetaType::UnknownType: *value = QVariant(); return true;
    case QMetaType::Bool: return readNumber<qint8, bool>(reader, value);
    case QMetaType::Short: return readNumber<qint16, short>(reader, value);
    case QMetaType::UShort: return readNumber<quint16, ushort>(reader, value);
    case QMetaType::Int: return readNumber<qint32>(reader, value);
    case QMetaType::UInt: return readNumber<quint32>(reader, value);
    case QMetaType::Long: return readNumber<qint64, long>(reader, value);
    case QMetaType::ULong: return readNumber<quint64, ulong>(reader, value);
    case QMetaType::LongLong: return readNumber<qint64>(reader, value);
    case QMetaType::ULongLong: return readNumber<quint64>(reader, value);
    case QMetaType::QString: return readText(reader, value);
    default: return false;
    }
}

bool readProperties(BoundedReader& reader, ProcessProperties* properties) {
    quint32 count = 0;
    if (!reader.number(&count))
        return false;
    // The count may be wrong. Every property takes some bytes, so the loop ends with the block at the latest.
    for (quint32 index = 0; index < count; ++index) {
        QString key;
        QVariant value;
        if (!reader.text(&key) || !readValue(reader, &value))
            return false;
        properties->insert(key, value);
    }
    return true;
}

/// False when reading must stop. `isRecord` says whether the path was read, so that `record` can be kept.
bool readRecord(BoundedReader& reader, ProcessRecord* record, bool* isRecord) {
    *isRecord = reader.number(&record->processId) && reader.text(&record->executablePath);
    return *isRecord && readProperties(reader, &record->properties);
}

// Not by Qt's operator: its order depends on whether Qt's deprecated functions are compiled in. The format starts with the
// greatest key.
void writeFromTheGreatest(QDataStream& stream, const ProcessProperties& properties) {
    stream << static_cast<quint32>(properties.size());
    for (auto property = properties.cend(); property != properties.cbegin();) {
        property = std::prev(property);
        stream << property.key() << property.value();
    }
}

} // namespace

ProcessStateCodec::Decoded ProcessStateCodec::decode(const QByteArray& block) {
    Decoded decoded;
    BoundedReader reader(block);
    qint32 count = 0;
    bool isWhole = reader.number(&count);
    while (isWhole && decoded.records.size() < count) {
        ProcessRecord record;
        bool isRecord = false;
        isWhole = readRecord(reader, &record, &isRecord);
        if (isRecord)
            decoded.records.append(record);
    }
    decoded.used = reader.place();
    decoded.examined = isWhole ? decoded.used : block.size();
    return decoded;
}

QByteArray ProcessStateCodec::encode(const ProcessRecords& records, int blockSize) {
    QByteArray bytes(blockSize, '\0');
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << static_cast<qint32>(records.size());
    for (const ProcessRecord& record : records) {
        stream << record.processId << record.executablePath;
        writeFromTheGreatest(stream, record.properties);
    }
    return bytes;
}

} // namespace Velquor::Util
