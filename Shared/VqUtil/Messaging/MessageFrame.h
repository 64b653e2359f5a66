#pragma once

#include <QByteArray>

namespace Velquor::Util {

/// What goes over the socket: a mark, the version of the format, the length of the payload, the id of the message, when it was
/// sent, and the payload, whose first byte is its kind. At most 64 KiB together. Thread: any.
struct MessageFrame {
    enum class Kind : quint8 {
        Hello = 1, ///< The first frame of a client, without content.
        Message = 2,
    };
    static constexpr int headerSize = 4 + 1 + 4 + 16 + 8;
    static constexpr int greatestSize = 64 * 1024;

    Kind kind = Kind::Message;
    QByteArray id;      ///< 16 bytes.
    qint64 sentMs = 0;  ///< By the machine's clock (`MessageJournal::nowMs`).
    QByteArray content; ///< Without the kind.

    /// Empty when it would be too long.
    [[nodiscard]] QByteArray toBytes() const;
    [[nodiscard]] static QByteArray newId();
};

/// Cuts a stream of bytes into frames. It holds less than one frame beyond what was given to it last.
/// Thread: one. Errors: after `Hostile` the stream has no further meaning.
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
