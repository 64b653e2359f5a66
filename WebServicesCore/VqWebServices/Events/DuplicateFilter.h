#pragma once

#include "Events/WebServicesEvent.h"

#include <QHash>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <QVector>
#include <optional>

namespace Velquor::WebServices::Internal {

/// How an event arrived from another process.
enum class IPCMethod { Socket, Watcher };

[[nodiscard]] inline QString methodName(IPCMethod method) {
    return method == IPCMethod::Socket ? QStringLiteral("Socket") : QStringLiteral("Watcher");
}

/// Remembers which events of other processes were handled, and which carrier brought them first.
///
/// Each sender numbers its events, and one carrier may be thousands of events behind the other, so all numbers of a sender are
/// remembered. They are stored as ranges; while all events arrive by the same carrier, that is one range.
/// Bounded: of too many ranges the lowest two are merged; of too many senders the one that was silent for longest is forgotten.
/// Thread: one at a time. Owner: the notification manager.
class DuplicateFilter {
public:
    /// Nothing when the event is new; otherwise the carrier that brought it before.
    [[nodiscard]] std::optional<IPCMethod> add(const QString& eventId, IPCMethod method);
    /// The same for an event of an older process, which has no id: an equal one that the other carrier brought within a few
    /// seconds is the same. `nowMs` is of a steady clock.
    [[nodiscard]] std::optional<IPCMethod> addWithoutId(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params,
                                                        IPCMethod method, qint64 nowMs);

    static constexpr int mostSources = 1024;
    static constexpr int mostRanges = 64;
    static constexpr int mostWithoutId = 64;

private:
    struct Range {
        quint64 last = 0;
        IPCMethod method = IPCMethod::Socket;
    };
    using Ranges = QMap<quint64, Range>; ///< By their first number.
    struct Source {
        Ranges ranges;
        quint64 turn = 0; ///< When its last event arrived.
    };

    /// Arrived by one carrier, not yet by the other.
    struct WithoutId {
        WebServicesPrivateCore::WebServicesEvent event;
        QVariantMap params;
        IPCMethod method;
        qint64 atMs;
    };

    [[nodiscard]] Ranges& rangesOf(const QString& source);
    static void insert(Ranges& ranges, quint64 number, IPCMethod method);

    QHash<QString, Source> m_sources;
    quint64 m_turn = 0;
    QVector<WithoutId> m_withoutId; ///< The oldest first.
};

} // namespace Velquor::WebServices::Internal
