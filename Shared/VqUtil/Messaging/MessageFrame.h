#pragma once

#include <QByteArray>

namespace Velquor::Util {

/// One unit on the socket: a signature, the version of the format, the length of the payload, the message's id, the time of
/// sending, and the payload, whose first byte is the kind. At most 64 KiB in all. Thread: any.
struct MessageFrame {
    enum class Kind : quint8 {
        Hello = 1, ///< The first frame of a client, without content.
        Message = 2,
    };
    static constexpr int headerSize = 4 + 1 + 4 + 16 + 8;
    static constexpr int greatestSize = 64 * 1024;

    Kind kind = Kind::Message;
    QByteArray id;      ///< 16 bytes.
    qint64 sentMs = 0;  ///< By the monotonic clock of the machine (`MessageJournal::nowMs`).
    QByteArray content; ///< Without the kind.

    /// Empty when the frame would be too long.
    [[nodiscard]] QByteArray toBytes() const;
    [[nodiscard]] static QByteArray newId();
};

/// Cuts a stream of bytes into frames. It buffers less than one frame beyond the bytes of the last `add`.
/// Thread: one. Errors: after `Hostile` the rest of the stream cannot be read.
class MessageFrameReader {
public:
    enum class Result { Whole, Incomplete, Hostile };

    void add(const QByteArray& bytes);
    [[nodiscard]] Result next(MessageFrame* frame);
    [[nodiscard]] bool isInsideFrame() const { return m_place < m_bytes.size(); }

private:
    QByteArray m_bytes;
    int m_place = 0;
};

} // namespace Velquor::Util
