#pragma once

#include <QHash>
#include <QQueue>
#include <QString>

namespace Velquor::WebServices {

/// How an event came from another process.
enum class IPCMethod { Socket, Watcher };

[[nodiscard]] inline QString methodName(IPCMethod method) {
    return method == IPCMethod::Socket ? QStringLiteral("Socket") : QStringLiteral("Watcher");
}

/// The events of other processes that were handled lately, and which carrier brought them first. Bounded: the oldest are forgotten.
/// Thread: one at a time. Owner: the notification manager.
class HandledEvents {
public:
    /// True when the event is new; otherwise `first` is the carrier that brought it before. An event without an identity is new.
    [[nodiscard]] bool add(const QString& eventId, IPCMethod method, IPCMethod& first) {
        if (eventId.isEmpty())
            return true;
        const auto known = m_methods.constFind(eventId);
        if (known != m_methods.constEnd()) {
            first = *known;
            return false;
        }
        m_methods.insert(eventId, method);
        m_order.enqueue(eventId);
        if (m_order.size() > capacity)
            m_methods.remove(m_order.dequeue());
        return true;
    }

    static constexpr int capacity = 4096;

private:
    QHash<QString, IPCMethod> m_methods;
    QQueue<QString> m_order;
};

} // namespace Velquor::WebServices
