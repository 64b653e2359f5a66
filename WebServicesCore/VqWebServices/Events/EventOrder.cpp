#include "Events/EventOrder.h"

#include "Events/INotificationListener.h"

#include <algorithm>

namespace Velquor::WebServices {

namespace {

const QLatin1Char mark('#');

} // namespace

QString EventOrder::eventId(const QString& source, quint64 number) {
    return source + mark + QString::number(number);
}

EventOrder::Place EventOrder::placeOf(const QString& eventId) {
    const int place = eventId.lastIndexOf(mark);
    return place < 0 ? Place{eventId, 0} : Place{eventId.left(place), eventId.mid(place + 1).toULongLong()};
}

EventOrder::Source& EventOrder::sourceOf(const QString& name) {
    if (!m_sources.contains(name)) {
        m_names.enqueue(name);
        // Whoever holds something is not forgotten before it is released.
        while (m_names.size() > mostSources && m_sources.value(m_names.head()).held.isEmpty())
            m_sources.remove(m_names.dequeue());
    }
    return m_sources[name];
}

void EventOrder::release(Source& source, quint64 upTo, QVector<ArrivedEvent>& released) {
    while (!source.held.isEmpty() && source.held.firstKey() <= std::max(upTo, source.last + 1)) {
        source.last = std::max(source.last, source.held.firstKey());
        released += source.held.take(source.held.firstKey()).arrived;
    }
}

QVector<ArrivedEvent> EventOrder::take(const ArrivedEvent& arrived, qint64 nowMs) {
    if (arrived.method == IPCMethod::Socket)
        m_bySocketMs = nowMs;
    const Place place = placeOf(arrived.params.value(EventParam::eventId).toString());
    if (place.number == 0)
        return {arrived};
    Source& source = sourceOf(place.source);
    if (arrived.method == IPCMethod::Watcher && place.number > source.last + 1) {
        source.held.insert(place.number, {arrived, nowMs});
        return {};
    }
    QVector<ArrivedEvent> ready;
    release(source, place.number - 1, ready);
    ready += arrived;
    source.last = std::max(source.last, place.number);
    release(source, source.last, ready);
    return ready;
}

QVector<ArrivedEvent> EventOrder::reachedBySocket(const QString& eventId, qint64 nowMs) {
    const Place place = placeOf(eventId);
    QVector<ArrivedEvent> ready;
    m_bySocketMs = nowMs;
    const auto source = m_sources.find(place.source);
    if (source != m_sources.end())
        release(*source, place.number, ready);
    return ready;
}

QVector<ArrivedEvent> EventOrder::takeOverdue(qint64 nowMs) {
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

int EventOrder::msUntilDue(qint64 nowMs) const {
    qint64 left = -1;
    for (const Source& source : m_sources) {
        for (const Held& held : source.held) {
            const qint64 ownLeft = std::max<qint64>(dueMs(held) - nowMs, 0);
            left = left < 0 ? ownLeft : std::min(left, ownLeft);
        }
    }
    return static_cast<int>(left);
}

} // namespace Velquor::WebServices
