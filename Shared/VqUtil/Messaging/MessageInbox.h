#pragma once

#include "VqUtil/Messaging/MessageCodec.h"

#include <QMutex>
#include <QObject>
#include <deque>
#include <optional>

namespace Velquor::Util {

/// The queue of messages from the thread of the messaging to the receiving thread. It is bounded: while the receiver is busy for
/// long, the oldest messages are dropped, as they are for a process that is unreachable that long.
///
/// Thread: any. Owner: the manager.
class MessageInbox : public QObject {
    Q_OBJECT

public:
    static constexpr int greatestCount = 16 * 1024;
    static constexpr qint64 greatestSize = 4LL * 1024 * 1024;

    /// `size`: the encoded bytes. False when older messages were dropped to make space.
    bool add(MessageCodec::Message message, int size);
    /// Emits `Filled` when there is a message and no `Filled` is pending.
    void notify();
    /// Call when `Filled` has arrived, so that the next message emits it again.
    void acknowledge();
    /// The oldest message, if there is one.
    [[nodiscard]] std::optional<MessageCodec::Message> take();
    void clear();

signals:
    /// There is a message to take. `take` emits it once more while there are others. Connect it queued.
    void Filled();

private:
    struct Entry {
        MessageCodec::Message message;
        int size;
    };

    QMutex m_mutex;
    std::deque<Entry> m_entries;
    qint64 m_size = 0;
    bool m_isNotified = false; ///< A `Filled` is pending.
};

} // namespace Velquor::Util
