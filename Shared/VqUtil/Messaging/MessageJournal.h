#pragma once

#include <QByteArray>
#include <QSet>
#include <deque>

namespace Velquor::Util {

/// The latest messages as frames, numbered upwards. Each connection keeps the number of the next frame to write.
///
/// It is bounded in number and bytes. The oldest frames are removed first, so a connection that falls behind misses them.
/// Thread: one. Owner: the broker.
class MessageJournal {
public:
    struct Entry {
        QByteArray frame;
        quint64 origin = 0; ///< The number of the connection that it came from.
        qint64 timeMs = 0;  ///< When it was received, or first written.
        bool isWritten = false;
    };
    enum class Age { SinceReceived, SinceWritten };
    static constexpr int greatestCount = 16 * 1024;
    static constexpr qint64 greatestSize = 4LL * 1024 * 1024;

    explicit MessageJournal(Age age)
        : m_age(age) {}

    void append(const QByteArray& frame, quint64 origin);
    [[nodiscard]] quint64 begin() const { return m_begin; }
    [[nodiscard]] quint64 end() const { return m_begin + m_entries.size(); }
    [[nodiscard]] const Entry& at(quint64 number) const { return m_entries[static_cast<size_t>(number - m_begin)]; }
    void noteWritten(quint64 number);
    /// The number of the first entry that is at most `ms` old.
    [[nodiscard]] quint64 firstWithin(qint64 ms) const;
    /// Removes the entries that are older than `ms` and come before `number`.
    void forget(qint64 ms, quint64 number);

    [[nodiscard]] static qint64 nowMs();

private:
    void removeFirst();

    const Age m_age;
    std::deque<Entry> m_entries;
    quint64 m_begin = 0;
    qint64 m_size = 0;
};

/// The ids of the messages that this process has seen: as many of the latest as two journals hold. Thread: one.
class SeenMessages {
public:
    /// False when the id is known already.
    [[nodiscard]] bool add(const QByteArray& id);

private:
    static constexpr int greatestCount = 2 * MessageJournal::greatestCount;

    QSet<QByteArray> m_ids;
    std::deque<QByteArray> m_order;
};

} // namespace Velquor::Util
