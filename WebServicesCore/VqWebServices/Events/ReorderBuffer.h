#pragma once

#include "Events/DuplicateFilter.h"
#include "Events/WebServicesEvent.h"

#include <QHash>
#include <QMap>
#include <QQueue>
#include <QVariantMap>
#include <QVector>

namespace Velquor::WebServices::Internal {

/// An event on its way between processes, and the carrier that brings it.
struct ArrivedEvent {
    WebServicesPrivateCore::WebServicesEvent event = WebServicesPrivateCore::WebServicesEvent::AccountCreated;
    QVariantMap params;
    IPCMethod method = IPCMethod::Socket;
};

/// Keeps the events of one sender in their order where the watched file is faster than the socket.
///
/// Each sender counts its events. The socket brings them in order; the file holds the last one only, so one that arrives by file
/// ahead of its turn waits for those before it: until they have come, until the socket shows that they do not come, until the
/// socket has brought nothing for `holdMs` (a socket that still brings something may be late, and still come), or for
/// `longestHoldMs`. An event whose id has no number passes as it comes.
///
/// Thread: its owner's. Owner: the notification manager.
class ReorderBuffer {
public:
    /// Takes a new event; what is to be handled now.
    [[nodiscard]] QVector<ArrivedEvent> take(const ArrivedEvent& arrived, qint64 nowMs);
    /// The socket has brought an event again that was taken before; what is to be handled now.
    [[nodiscard]] QVector<ArrivedEvent> reachedBySocket(const QString& eventId, qint64 nowMs);
    /// What has waited long enough.
    [[nodiscard]] QVector<ArrivedEvent> takeOverdue(qint64 nowMs);
    /// How long until the oldest of what waits has waited long enough; -1 when nothing waits.
    [[nodiscard]] int msUntilDue(qint64 nowMs) const;

    /// Longer than a busy server of the sockets takes, and short for who waits.
    static constexpr int holdMs = 1200;
    /// A sender whose own socket is gone is heard after this, however busy the socket is with others.
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
    /// Moves what is held up to a number, and what follows it without a gap.
    static void release(Source& source, quint64 upTo, QVector<ArrivedEvent>& released);
    /// When what is held has waited long enough.
    [[nodiscard]] qint64 dueMs(const Held& held) const {
        return qMin(qMax(held.sinceMs, m_bySocketMs) + holdMs, held.sinceMs + longestHoldMs);
    }

    QHash<QString, Source> m_sources;
    QQueue<QString> m_names; ///< In the order of their first event.
    qint64 m_bySocketMs = 0; ///< When the socket brought something last, whoever sent it.
};

} // namespace Velquor::WebServices::Internal
