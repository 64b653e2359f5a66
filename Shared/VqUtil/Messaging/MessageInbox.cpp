#include "VqUtil/Messaging/MessageInbox.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::Util {

bool MessageInbox::add(MessageCodec::Message message, int size) {
    bool isRoomy = true;
    const QMutexLocker lock(&m_mutex);
    m_entries.push_back({std::move(message), size});
    m_size += size;
    while (m_size > greatestSize || m_entries.size() > greatestCount) {
        m_size -= m_entries.front().size;
        m_entries.pop_front();
        isRoomy = false;
    }
    return isRoomy;
}

void MessageInbox::tell() {
    bool tells = false;
    {
        const QMutexLocker lock(&m_mutex);
        tells = !m_entries.empty() && !std::exchange(m_isTold, true);
    }
    if (tells)
        emit Filled();
}

void MessageInbox::beginToTake() {
    const QMutexLocker lock(&m_mutex);
    m_isTold = false;
}

// Tells of the next one before this one is handled: its receiver may run an event loop, or may never come back here.
std::optional<MessageCodec::Message> MessageInbox::take() {
    std::optional<MessageCodec::Message> first;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_entries.empty())
            return first;
        first = std::move(m_entries.front().message);
        m_size -= m_entries.front().size;
        m_entries.pop_front();
    }
    tell();
    return first;
}

void MessageInbox::clear() {
    const QMutexLocker lock(&m_mutex);
    m_entries.clear();
    m_size = 0;
}

} // namespace Velquor::Util
