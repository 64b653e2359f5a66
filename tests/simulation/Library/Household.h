#pragma once

#include "simulation/Library/Oracle.h"

namespace Velquor::Simulation {

/// One run: a machine, some processes that are started, killed and started again, and what goes wrong around them. Then all goes
/// well for a while, and everybody must agree.
///
/// Thread: director. Owner: the world of the run.
class Household {
public:
    struct Options {
        bool hasFaults = true;
        /// The file may be locked, unreadable, or without room for longer than a process waits. The clock jumps.
        bool hasFileFaults = true;
        int hours = 4; ///< Of virtual time in which things happen.
        int maxSteps = 6000;
    };
    using Marks = std::map<QString, int>;

    Household(World& world, const Options& options);

    /// The text of the rule that was broken; empty when all was well. `marks` counts the situations that happened.
    [[nodiscard]] QString live(Marks& marks);

private:
    /// How often, per 1000 steps; 0: never in this run.
    struct Harm {
        int kill = 0;
        int fileLocked = 0;
        int fileUnreadable = 0;
        int serverDown = 0;
        int serverEnds = 0;
        int diskFull = 0;
        int clockJumps = 0;
    };

    void drawHarm();
    [[nodiscard]] QString afterStep();
    void doHarm();
    void harmFile();
    void jumpClock();
    void kill();
    void startMissing();
    void start();
    [[nodiscard]] bool happens(int perThousand, const char* what);
    [[nodiscard]] qint64 drawSpanUs();
    [[nodiscard]] QString beQuiet();
    void count(Marks& marks) const;

    World& m_world;
    const Options m_options;
    Machine m_machine;
    Harm m_harm;
    std::vector<SimProcess*> m_processes;
    std::size_t m_wanted = 2;
    Oracle m_oracle;
};

} // namespace Velquor::Simulation
