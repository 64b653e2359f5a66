#include "Events/ReorderBuffer.h"

#include "Events/EventIdentity.h"
#include "Events/INotificationListener.h"

#include <algorithm>

namespace Velquor::WebServices::Internal {

ReorderBuffer::Source& ReorderBuffer::sourceOf(const QString& name) {
    if (!m_sources.contains(name)) {
        m_names.enqueue(name);
        // A sender with held events is not forgotten.
        while (m_names.size() > mostSources && m_sources.value(m_names.head()).held.isEmpty())
            m_sources.remove(m_names.dequeue());
    }
    return m_sources[name];
}

void ReorderBuffer::release(Source& source, quint64 upTo, QVector<ArrivedEvent>& released) {
    while (!source.held.isEmpty() && source.held.firstKey() <= std::max(upTo, source.last + 1)) {
        source.last = std::max(source.last, source.held.firstKey());
        released += source.held.take(source.held.firstKey()).arrived;
    }
}

QVector<ArrivedEvent> ReorderBuffer::take(const ArrivedEvent& arrived, qint64 nowMs) {
    if (arrived.method == IPCMethod::Socket)
        m_bySocketMs = nowMs;
    const EventIdentity identity = EventIdentity::of(arrived.params.value(EventParam::eventId).toString());
    if (identity.number == 0)
        return {arrived};
    Source& source = sourceOf(identity.source);
    if (arrived.method == IPCMethod::Watcher && identity.number > source.last + 1) {
        source.held.insert(identity.number, {arrived, nowMs});
        return {};
    }
    // The socket keeps the order: earlier events that are still held will not arrive by it any more.
    QVector<ArrivedEvent> ready;
    release(source, identity.number - 1, ready);
    ready += arrived;
    source.last = std::max(source.last, identity.number);
    release(source, source.last, ready);
    return ready;
}

QVector<ArrivedEvent> ReorderBuffer::reachedBySocket(const QString& eventId, qint64 nowMs) {
    const EventIdentity identity = EventIdentity::of(eventId);
    QVector<ArrivedEvent> ready;
    m_bySocketMs = nowMs;
    const auto source = m_sources.find(identity.source);
    if (source != m_sources.end())
        release(*source, identity.number, ready);
    return ready;
}

QVector<ArrivedEvent> ReorderBuffer::takeOverdue(qint64 nowMs) {
    QVector<ArrivedEvent> ready;
    for (Source& source : m_sources) {
        quint64 upTo = 0;
        for (auto held = source.held.cbegin(); held != source.held.cend(); ++held)
            upTo = nowMs >= dueMs(*held) ? held.key() : upTo;
        if (upTo > 0)
            release(source, upTo, ready);
    }
    return ready;
}

int ReorderBuffer::msUntilDue(qint64 nowMs) const {
    qint64 left = -1;
    for (const Source& source : m_sources) {
        for (const Held& held : source.held) {
            const qint64 ownLeft = std::max<qint64>(dueMs(held) - nowMs, 0);
            left = left < 0 ? ownLeft : std::min(left, ownLeft);
        }
    }
    return static_cast<int>(left);
}

} // namespace Velquor::WebServices::Internal
