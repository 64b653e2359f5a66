#pragma once

#include "Events/DuplicateFilter.h"
#include "Events/WebServicesEvent.h"

#include <QHash>
#include <QMap>
#include <QQueue>
#include <QVariantMap>
#include <QVector>

namespace Velquor::WebServices::Internal {

/// An event of another process and the carrier that brought it.
struct ArrivedEvent {
    WebServicesPrivateCore::WebServicesEvent event = WebServicesPrivateCore::WebServicesEvent::AccountCreated;
    QVariantMap params;
    IPCMethod method = IPCMethod::Socket;
};

/// Keeps the events of one sender in order when the watched file is faster than the socket.
///
/// Each sender numbers its events. The socket brings them in order; the file holds the last one only. So an event that arrives by
/// file ahead of its turn waits for the earlier ones. The wait ends when they have arrived, when the socket brings the same or a
/// later event, when the socket has brought nothing for `holdMs` (a socket that still brings something may be late), or after
/// `longestHoldMs`. An event without a number passes at once.
///
/// Thread: its owner's. Owner: the notification manager.
class ReorderBuffer {
public:
    /// Takes a new event; returns the events to handle now.
    [[nodiscard]] QVector<ArrivedEvent> take(const ArrivedEvent& arrived, qint64 nowMs);
    /// The socket has brought an event that was taken before; returns the events to handle now.
    [[nodiscard]] QVector<ArrivedEvent> reachedBySocket(const QString& eventId, qint64 nowMs);
    /// The events that have waited long enough.
    [[nodiscard]] QVector<ArrivedEvent> takeOverdue(qint64 nowMs);
    /// The time until the next event has waited long enough; -1 when none waits.
    [[nodiscard]] int msUntilDue(qint64 nowMs) const;

    /// Longer than a busy message server takes, but short for a waiting user.
    static constexpr int holdMs = 1200;
    /// After this the events of a sender without a socket are handled, however busy the socket is with other senders.
    static constexpr int longestHoldMs = 10000;
    static constexpr int mostSources = 256;

private:
    struct Held {
        ArrivedEvent arrived;
        qint64 sinceMs = 0;
    };
    struct Source {
        quint64 last = 0; ///< The highest number that was handled.
        QMap<quint64, Held> held;
    };

    [[nodiscard]] Source& sourceOf(const QString& name);
    /// Moves the held events up to a number, and those that follow without a gap.
    static void release(Source& source, quint64 upTo, QVector<ArrivedEvent>& released);
    /// When a held event has waited long enough.
    [[nodiscard]] qint64 dueMs(const Held& held) const {
        return qMin(qMax(held.sinceMs, m_bySocketMs) + holdMs, held.sinceMs + longestHoldMs);
    }

    QHash<QString, Source> m_sources;
    QQueue<QString> m_names; ///< In the order of their first event.
    qint64 m_bySocketMs = 0; ///< When the socket last brought an event, of any sender.
};

} // namespace Velquor::WebServices::Internal
