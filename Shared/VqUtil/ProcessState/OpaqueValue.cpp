#include "VqUtil/ProcessState/OpaqueValue.h"

namespace Velquor::Util {

namespace {

/// Finds the end of a value. After a failure `isUnknown` says whether the value may be whole.
class ValueSkipper {
public:
    explicit ValueSkipper(BoundedReader& reader)
        : m_reader(reader) {}

    [[nodiscard]] bool isUnknown() const { return m_isUnknown; }

    [[nodiscard]] bool value(int depth = 0) {
        quint32 type = 0;
        qint8 isNull = 0;
        return depth <= greatestDepth && m_reader.number(&type) && m_reader.number(&isNull) && content(type, depth);
    }

private:
    static constexpr int greatestDepth = 16;
    static constexpr quint32 firstOwnType = 1024; // In the format of Qt 5, which is that of the block.

    [[nodiscard]] bool content(quint32 type, int depth) {
        switch (type) {
        case QMetaType::UnknownType: return true;
        case QMetaType::Bool:
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar: return m_reader.skip(1);
        case QMetaType::QChar:
        case QMetaType::Short:
        case QMetaType::UShort: return m_reader.skip(2);
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::QTime: return m_reader.skip(4);
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::Float: // Qt writes it as a double.
        case QMetaType::QDate:
        case QMetaType::QPoint:
        case QMetaType::QSize: return m_reader.skip(8);
        case QMetaType::QRect:
        case QMetaType::QLine:
        case QMetaType::QPointF:
        case QMetaType::QSizeF:
        case QMetaType::QUuid: return m_reader.skip(16);
        case QMetaType::QRectF:
        case QMetaType::QLineF: return m_reader.skip(32);
        case QMetaType::QString:
        case QMetaType::QByteArray:
        case QMetaType::QUrl:
        case QMetaType::QLocale: return bytes();
        case QMetaType::QBitArray: return bits();
        case QMetaType::QDateTime: return dateTime();
        case QMetaType::QStringList: return many([this] { return bytes(); });
        case QMetaType::QVariantList: return many([this, depth] { return value(depth + 1); });
        case QMetaType::QVariantMap:
        case QMetaType::QVariantHash: return many([this, depth] { return bytes() && value(depth + 1); });
        default: return unknown(type);
        }
    }

    // A type that Qt does not know itself carries its name.
    [[nodiscard]] bool unknown(quint32 type) {
        m_isUnknown = type < firstOwnType || bytes();
        return false;
    }

    [[nodiscard]] bool bytes() {
        quint32 length = 0;
        return m_reader.number(&length) && (length == BoundedReader::nullLength || m_reader.skip(length));
    }

    [[nodiscard]] bool bits() {
        quint32 count = 0;
        return m_reader.number(&count) && m_reader.skip(count / 8 + (count % 8 == 0 ? 0 : 1));
    }

    [[nodiscard]] bool dateTime() {
        qint8 spec = 0;
        if (!m_reader.skip(8 + 4) || !m_reader.number(&spec))
            return false;
        m_isUnknown = spec == Qt::TimeZone;
        return !m_isUnknown && (spec != Qt::OffsetFromUTC || m_reader.skip(4));
    }

    // Each element takes some bytes, so the loop ends with the block at the latest.
    template <typename Element>
    [[nodiscard]] bool many(const Element& element) {
        quint32 count = 0;
        bool isWhole = m_reader.number(&count);
        for (quint32 index = 0; isWhole && index < count; ++index)
            isWhole = element();
        return isWhole;
    }

    BoundedReader& m_reader;
    bool m_isUnknown = false;
};

} // namespace

OpaqueValue::ReadResult OpaqueValue::read(BoundedReader& reader, OpaqueValue* value) {
    const int start = reader.place();
    ValueSkipper skipper(reader);
    if (!skipper.value())
        return skipper.isUnknown() ? ReadResult::UnknownLength : ReadResult::Malformed;
    value->bytes = reader.since(start);
    return ReadResult::Read;
}

} // namespace Velquor::Util
