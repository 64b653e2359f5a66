#include "VqUtil/Messaging/MessageJournal.h"

#include <QDeadlineTimer>
#include <algorithm>
#include <utility>

namespace Velquor::Util {

void MessageJournal::append(const QByteArray& frame, quint64 origin) {
    m_entries.push_back({frame, origin, nowMs(), false});
    m_size += frame.size();
    while (m_entries.size() > static_cast<size_t>(greatestCount) || m_size > greatestSize)
        removeFirst();
}

// Only the first time counts: otherwise a message that is sent again to every new server would never expire.
void MessageJournal::noteWritten(quint64 number) {
    Entry& entry = m_entries[static_cast<size_t>(number - m_begin)];
    if (m_age == Age::SinceWritten && !std::exchange(entry.isWritten, true))
        entry.timeMs = nowMs();
}

quint64 MessageJournal::firstWithin(qint64 ms) const {
    const qint64 since = nowMs() - ms;
    const auto isWithin = [since](const Entry& entry) { return entry.timeMs >= since; };
    return m_begin + static_cast<quint64>(std::find_if(m_entries.cbegin(), m_entries.cend(), isWithin) - m_entries.cbegin());
}

void MessageJournal::forget(qint64 ms, quint64 number) {
    const qint64 since = nowMs() - ms;
    while (!m_entries.empty() && m_begin < number && m_entries.front().timeMs < since)
        removeFirst();
}

void MessageJournal::removeFirst() {
    m_size -= m_entries.front().frame.size();
    m_entries.pop_front();
    ++m_begin;
}

// A monotonic clock: the user may set the other one at any time.
qint64 MessageJournal::nowMs() {
    return QDeadlineTimer::current().deadline();
}

bool SeenMessages::add(const QByteArray& id) {
    if (m_ids.contains(id))
        return false;
    m_ids.insert(id);
    m_order.push_back(id);
    if (m_order.size() > static_cast<size_t>(greatestCount)) {
        m_ids.remove(m_order.front());
        m_order.pop_front();
    }
    return true;
}

} // namespace Velquor::Util
