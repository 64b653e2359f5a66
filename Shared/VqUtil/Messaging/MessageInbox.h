#pragma once

#include "VqUtil/Messaging/MessageCodec.h"

#include <QMutex>
#include <QObject>
#include <deque>
#include <optional>

namespace Velquor::Util {

/// Messages on their way from the thread of the messaging to the one that receives them. It is bounded: while a receiver is busy
/// for long, the oldest ones go first, as for a process that could not be reached for that long.
///
/// Thread: any. Owner: the manager.
class MessageInbox : public QObject {
    Q_OBJECT

public:
    static constexpr int greatestCount = 16 * 1024;
    static constexpr qint64 greatestSize = 4 * 1024 * 1024;

    /// `size` in bytes, as it came. False when older messages were given up for it.
    bool add(MessageCodec::Message message, int size);
    /// Tells that there is something to take, if that was not told yet.
    void tell();
    /// To be called when `Filled` has arrived.
    void beginToTake();
    /// The oldest one, if there is any.
    [[nodiscard]] std::optional<MessageCodec::Message> take();
    void clear();

signals:
    /// There is a message to take; told again, once, by `take` while there is more. To be received queued.
    void Filled();

private:
    struct Entry {
        MessageCodec::Message message;
        int size;
    };

    QMutex m_mutex;
    std::deque<Entry> m_entries;
    qint64 m_size = 0;
    bool m_isTold = false; ///< `Filled` is on its way.
};

} // namespace Velquor::Util
