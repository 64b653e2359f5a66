#include "VqUtil/Messaging/MessageInbox.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::Util {

bool MessageInbox::add(MessageCodec::Message message, int size) {
    bool isComplete = true;
    const QMutexLocker lock(&m_mutex);
    m_entries.push_back({std::move(message), size});
    m_size += size;
    while (m_size > greatestSize || m_entries.size() > greatestCount) {
        m_size -= m_entries.front().size;
        m_entries.pop_front();
        isComplete = false;
    }
    return isComplete;
}

void MessageInbox::notify() {
    bool isDue = false;
    {
        const QMutexLocker lock(&m_mutex);
        isDue = !m_entries.empty() && !std::exchange(m_isNotified, true);
    }
    if (isDue)
        emit Filled();
}

void MessageInbox::acknowledge() {
    const QMutexLocker lock(&m_mutex);
    m_isNotified = false;
}

// Announces the next message before this one is handled: the receiver may run an event loop, or never return here.
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
    notify();
    return first;
}

void MessageInbox::clear() {
    const QMutexLocker lock(&m_mutex);
    m_entries.clear();
    m_size = 0;
}

} // namespace Velquor::Util
