#include "VqUtil/Ipc/MessageInbox.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::Util {

bool MessageInbox::add(MessageCodec::Message message, int size) {
    bool tells = false;
    bool isRoomy = true;
    {
        const QMutexLocker lock(&m_mutex);
        tells = !std::exchange(m_isTold, true);
        m_entries.push_back({std::move(message), size});
        m_size += size;
        while (m_size > greatestSize || m_entries.size() > greatestCount) {
            m_size -= m_entries.front().size;
            m_entries.pop_front();
            isRoomy = false;
        }
    }
    if (tells)
        emit Filled();
    return isRoomy;
}

void MessageInbox::beginToTake() {
    const QMutexLocker lock(&m_mutex);
    m_isTold = false;
}

// Tells of the next one before this one is handled: its receiver may run an event loop, or may never come back here.
std::optional<MessageCodec::Message> MessageInbox::take() {
    std::optional<MessageCodec::Message> first;
    bool tells = false;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_entries.empty())
            return first;
        first = std::move(m_entries.front().message);
        m_size -= m_entries.front().size;
        m_entries.pop_front();
        tells = !m_entries.empty() && !std::exchange(m_isTold, true);
    }
    if (tells)
        emit Filled();
    return first;
}

void MessageInbox::clear() {
    const QMutexLocker lock(&m_mutex);
    m_entries.clear();
    m_size = 0;
}

} // namespace Velquor::Util
