#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <vector>

namespace Velquor::Simulation {

/// One decision: what it was about, and which of the possibilities was taken. Those that took the first (0) are not recorded.
struct Choice {
    QByteArray what;
    int value = 0;
};

/// The actor that ran, and what was decided until it gave the baton back.
struct Step {
    QByteArray actor; ///< Empty in the first step, which holds the decisions before the first actor ran.
    std::vector<Choice> choices;
};

using Record = std::vector<Step>;

/// A record as one line of text, which `recordFromText` reads: "A.main*3 B.token:late=2,act=1".
[[nodiscard]] QByteArray textOf(const Record& record);
[[nodiscard]] Record recordFromText(const QByteArray& text);

/// The only source of chance in a simulation. It draws from a seed, or replays a record, and records either way.
///
/// A replay is tolerant, so that a shortened record is still one: a step whose actor cannot run is skipped, and what the record
/// does not say is the first possibility. Thread: the holder of the baton. Owner: one run. Errors: none.
class Choices {
public:
    explicit Choices(quint64 seed);
    explicit Choices(Record replayed);

    /// One of 0 to n - 1, all equally likely. 0 must be the plainest.
    [[nodiscard]] int pick(int n, const char* what);
    [[nodiscard]] bool chance(int percent, const char* what);
    [[nodiscard]] bool rarely(int perThousand, const char* what);

    /// Which of the actors runs. `draw` decides unless the record does.
    [[nodiscard]] int actor(const std::vector<QByteArray>& runnable, const std::function<int()>& draw);

    /// For strategies whose decision is recorded as a whole.
    [[nodiscard]] quint64 random();

    [[nodiscard]] bool isReplay() const { return m_isReplay; }
    [[nodiscard]] const Record& record() const { return m_record; }

private:
    [[nodiscard]] int decide(int n, const char* what, const std::function<int()>& draw);
    [[nodiscard]] int recorded(const QByteArray& what);
    [[nodiscard]] static QByteArray nameInStep(const char* what, std::ptrdiff_t before);
    [[nodiscard]] int replayedActor(const std::vector<QByteArray>& runnable);

    const bool m_isReplay;
    quint64 m_state = 0;
    const Record m_replayed;
    std::size_t m_next = 0;      ///< The step to replay next.
    std::vector<Choice> m_given; ///< What the replayed step still has to say.
    Record m_record;
    std::vector<const char*> m_drawn; ///< What was decided in this step: literals.
};

} // namespace Velquor::Simulation
