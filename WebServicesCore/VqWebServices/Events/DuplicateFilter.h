#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <optional>

namespace Velquor::WebServices::Internal {

/// How an event came from another process.
enum class IPCMethod { Socket, Watcher };

[[nodiscard]] inline QString methodName(IPCMethod method) {
    return method == IPCMethod::Socket ? QStringLiteral("Socket") : QStringLiteral("Watcher");
}

/// The events of other processes that were handled, and which carrier brought them first.
///
/// Senders count their events, and one carrier may be thousands of events behind the other: so nothing is forgotten of a sender.
/// Its events are kept as ranges of numbers, of which there is one as long as they all come, and come by the same carrier.
/// Bounded: of too many ranges the lowest two become one; of too many senders the one goes that was silent for longest.
/// Thread: one at a time. Owner: the notification manager.
class DuplicateFilter {
public:
    /// Nothing when the event is new; otherwise the carrier that brought it before. An event without an id is new.
    [[nodiscard]] std::optional<IPCMethod> add(const QString& eventId, IPCMethod method);

    static constexpr int mostSources = 1024;
    static constexpr int mostRanges = 64;

private:
    struct Range {
        quint64 last = 0;
        IPCMethod method = IPCMethod::Socket;
    };
    using Ranges = QMap<quint64, Range>; ///< By their first number.
    struct Source {
        Ranges ranges;
        quint64 turn = 0; ///< When it was heard last.
    };

    [[nodiscard]] Ranges& rangesOf(const QString& source);
    static void insert(Ranges& ranges, quint64 number, IPCMethod method);

    QHash<QString, Source> m_sources;
    quint64 m_turn = 0;
};

} // namespace Velquor::WebServices::Internal
