#pragma once

#include <QByteArray>
#include <QSet>
#include <deque>

namespace Velquor::Util {

/// The latest messages as frames, each with a number that counts upwards. Whoever writes them to a socket keeps the number of the
/// next one.
///
/// It is bounded in number and bytes: the oldest ones go first, so that one who falls behind misses them.
/// Thread: one. Owner: the hub.
class MessageJournal {
public:
    struct Entry {
        QByteArray frame;
        quint64 origin = 0; ///< The connection that it came over.
        qint64 timeMs = 0;  ///< When it came, or was written for the first time.
        bool isWritten = false;
    };
    enum class Age { SinceItCame, SinceItWasWritten };
    static constexpr int greatestCount = 16 * 1024;
    static constexpr qint64 greatestSize = 4 * 1024 * 1024;

    explicit MessageJournal(Age age)
        : m_age(age) {}

    void append(const QByteArray& frame, quint64 origin);
    [[nodiscard]] quint64 begin() const { return m_begin; }
    [[nodiscard]] quint64 end() const { return m_begin + m_entries.size(); }
    [[nodiscard]] const Entry& at(quint64 number) const { return m_entries[static_cast<size_t>(number - m_begin)]; }
    void noteWritten(quint64 number);
    /// The first entry that is not older than that.
    [[nodiscard]] quint64 firstWithin(qint64 ms) const;
    /// Forgets what is older than `ms` and comes before `number`.
    void forget(qint64 ms, quint64 number);

    [[nodiscard]] static qint64 nowMs();

private:
    void removeFirst();

    const Age m_age;
    std::deque<Entry> m_entries;
    quint64 m_begin = 0;
    qint64 m_size = 0;
};

/// Which messages are known already; as many of the latest as two journals hold. Thread: one.
class SeenMessages {
public:
    /// False when it is known.
    [[nodiscard]] bool add(const QByteArray& id);

private:
    static constexpr int greatestCount = 2 * MessageJournal::greatestCount;

    QSet<QByteArray> m_ids;
    std::deque<QByteArray> m_order;
};

} // namespace Velquor::Util
