#include "VqUtil/ProcessState/ProcessStateCodec.h"

#include "VqUtil/General/QtDifferences.h"
#include "VqUtil/ProcessState/OpaqueValue.h"

#include <QDataStream>
#include <QIODevice>
#include <algorithm>
#include <iterator>

namespace Velquor::Util {

namespace {

constexpr int valueHeadSize = 5;    // type, and whether the value is null
constexpr int leastRecordSize = 16; // id, null path, no properties

using ReadResult = OpaqueValue::ReadResult;

ReadResult result(bool isRead) {
    return isRead ? ReadResult::Read : ReadResult::Malformed;
}

template <typename Written, typename Held = Written>
ReadResult readNumber(BoundedReader& reader, QVariant* value) {
    Written number = 0;
    const bool isRead = reader.skip(valueHeadSize) && reader.number(&number);
    *value = QVariant::fromValue(static_cast<Held>(number));
    return result(isRead);
}

ReadResult readText(BoundedReader& reader, QVariant* value) {
    QString text;
    const bool isRead = reader.skip(valueHeadSize) && reader.text(&text);
    *value = text;
    return result(isRead);
}

ReadResult readOpaque(BoundedReader& reader, QVariant* value) {
    static const bool isRegistered =
        QtDifferences::registerEquality<OpaqueValue>() && QMetaType::registerConverter(&OpaqueValue::toString);
    Q_UNUSED(isRegistered)
    OpaqueValue opaque;
    const ReadResult result = OpaqueValue::read(reader, &opaque);
    *value = QVariant::fromValue(opaque);
    return result;
}

ReadResult readValue(BoundedReader& reader, QVariant* value) {
    quint32 type = 0;
    if (!BoundedReader(reader).number(&type))
        return ReadResult::Malformed;
    switch (type) {
    case QMetaType::UnknownType: *value = QVariant(); return result(reader.skip(valueHeadSize));
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
    default: return readOpaque(reader, value);
    }
}

ReadResult readProperties(BoundedReader& reader, ProcessProperties* properties) {
    quint32 count = 0;
    ReadResult last = result(reader.number(&count));
    // The count may be wrong. Every property takes some bytes, so the loop ends with the block at the latest.
    for (quint32 index = 0; last == ReadResult::Read && index < count; ++index) {
        QString key;
        QVariant value;
        last = reader.text(&key) ? readValue(reader, &value) : ReadResult::Malformed;
        if (last == ReadResult::Read)
            properties->insert(key, value);
    }
    return last;
}

// The rest of the block, from the properties of a record that was read up to `place` only. Behind the data are zeros.
void keepRest(const QByteArray& block, int start, int place, int records, ProcessRecord* record) {
    int end = block.size();
    while (end > place && block.at(end - 1) == '\0')
        --end;
    record->rest = block.mid(start, end - start);
    // The count may be wrong.
    record->restRecords = std::min(records, static_cast<int>(record->rest.size()) / leastRecordSize);
}

void writeRaw(QDataStream& stream, const QByteArray& bytes) {
    stream.writeRawData(bytes.constData(), bytes.size());
}

// Not by Qt's operator: its order depends on whether Qt's deprecated functions are compiled in. The format starts with the
// greatest key.
void writeFromTheGreatest(QDataStream& stream, const ProcessProperties& properties) {
    stream << static_cast<quint32>(properties.size());
    for (auto property = properties.cend(); property != properties.cbegin();) {
        property = std::prev(property);
        stream << property.key();
        if (property.value().userType() == qMetaTypeId<OpaqueValue>())
            writeRaw(stream, property.value().value<OpaqueValue>().bytes);
        else
            stream << property.value();
    }
}

void writeRecord(QDataStream& stream, const ProcessRecord& record) {
    stream << record.processId << record.executablePath;
    if (record.rest.isEmpty())
        writeFromTheGreatest(stream, record.properties);
    else
        writeRaw(stream, record.rest);
}

} // namespace

ProcessStateCodec::Decoded ProcessStateCodec::decode(const QByteArray& block) {
    Decoded decoded;
    BoundedReader reader(block);
    qint32 count = 0;
    ReadResult last = result(reader.number(&count));
    while (last == ReadResult::Read && decoded.records.size() < count) {
        ProcessRecord record;
        last = result(reader.number(&record.processId) && reader.text(&record.executablePath));
        if (last != ReadResult::Read)
            break;
        const int start = reader.place();
        last = readProperties(reader, &record.properties);
        if (last == ReadResult::UnknownLength)
            keepRest(block, start, reader.place(), count - decoded.records.size() - 1, &record);
        decoded.records.append(record);
    }
    decoded.used = reader.place();
    decoded.examined = last == ReadResult::Read ? decoded.used : block.size();
    return decoded;
}

QByteArray ProcessStateCodec::encode(const ProcessRecords& records, int blockSize) {
    QByteArray bytes(blockSize, '\0');
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    // What cannot be read hides what is behind it.
    const auto last =
        std::find_if(records.cbegin(), records.cend(), [](const ProcessRecord& one) { return !one.rest.isEmpty(); });
    stream << static_cast<qint32>(records.size() + (last == records.cend() ? 0 : last->restRecords));
    for (auto record = records.cbegin(); record != records.cend(); ++record) {
        if (record != last)
            writeRecord(stream, *record);
    }
    if (last != records.cend())
        writeRecord(stream, *last);
    return bytes;
}

} // namespace Velquor::Util
