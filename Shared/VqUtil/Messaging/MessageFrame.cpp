#include "VqUtil/Messaging/MessageFrame.h"

#include <QUuid>
#include <QtEndian>
#include <algorithm>

namespace Velquor::Util {

namespace {

// The signature and the version.
const QByteArray& frameStart() {
    static const QByteArray start("VqIM\x01", 5);
    return start;
}

constexpr int lengthPlace = 5;
constexpr int idPlace = 9;
constexpr int idSize = 16;
constexpr int timePlace = idPlace + idSize;

bool isKind(char kind) {
    return kind >= static_cast<char>(MessageFrame::Kind::Hello) && kind <= static_cast<char>(MessageFrame::Kind::Message);
}

} // namespace

QByteArray MessageFrame::toBytes() const {
    if (content.size() > greatestSize - headerSize - 1 || id.size() != idSize)
        return {};
    const quint32 length = qToBigEndian(static_cast<quint32>(content.size() + 1));
    const qint64 time = qToBigEndian(sentMs);
    QByteArray bytes;
    bytes.reserve(headerSize + 1 + content.size());
    bytes += frameStart();
    bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
    bytes += id;
    bytes.append(reinterpret_cast<const char*>(&time), sizeof time);
    bytes += static_cast<char>(kind);
    bytes += content;
    return bytes;
}

QByteArray MessageFrame::newId() {
    return QUuid::createUuid().toRfc4122();
}

void MessageFrameReader::add(const QByteArray& bytes) {
    m_bytes.remove(0, m_place);
    m_place = 0;
    m_bytes += bytes;
}

// Reports a wrong start or length at the first wrong byte: waiting for a whole frame would let a peer hold the connection open.
MessageFrameReader::Result MessageFrameReader::next(MessageFrame* frame) {
    const auto left = m_bytes.size() - m_place;
    const char* const start = m_bytes.constData() + m_place;
    if (!std::equal(start, start + std::min(left, frameStart().size()), frameStart().cbegin()))
        return Result::Hostile;
    if (left < idPlace)
        return Result::Incomplete;
    const auto length = qFromBigEndian<quint32>(start + lengthPlace);
    if (length == 0 || length > static_cast<quint32>(MessageFrame::greatestSize - MessageFrame::headerSize))
        return Result::Hostile;
    const int size = MessageFrame::headerSize + static_cast<int>(length);
    if (left > MessageFrame::headerSize && !isKind(start[MessageFrame::headerSize]))
        return Result::Hostile;
    if (left < size)
        return Result::Incomplete;
    frame->kind = static_cast<MessageFrame::Kind>(start[MessageFrame::headerSize]);
    frame->id = QByteArray(start + idPlace, idSize);
    frame->sentMs = qFromBigEndian<qint64>(start + timePlace);
    frame->content = QByteArray(start + MessageFrame::headerSize + 1, static_cast<int>(length) - 1);
    m_place += size;
    return Result::Whole;
}

} // namespace Velquor::Util
