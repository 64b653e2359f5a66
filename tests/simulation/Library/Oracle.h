#pragma once

#include "simulation/Library/SimProcess.h"

namespace Velquor::Simulation {

/// Says whether what the processes and the file show agrees with what the users did and what the server gave out. It knows
/// nothing of dates, marks and merges.
///
/// Thread: director. Owner: the run. Errors: the text of the rule that is broken; empty when all is well.
class Oracle {
public:
    using Processes = std::vector<SimProcess*>;

    Oracle(const Machine& machine, const Processes& processes)
        : m_machine(machine)
        , m_processes(processes) {}

    /// After every step, whatever came before.
    [[nodiscard]] QString check();
    /// When nothing has happened for long.
    [[nodiscard]] QString checkQuiet();
    /// The server has given out a token that the file does not hold.
    [[nodiscard]] bool isTokenUnsaved() const;

private:
    /// What a process shows to its host.
    struct Seen {
        int steps = -1; ///< Of the process, when it was looked at.
        bool isRestored = false;
        int signIn = 0;
        int token = 0;
        int shown = 0;
        std::set<int> left; ///< Sign-ins that it does not show any more.
    };
    struct File {
        quint64 writes = 0;
        int signIn = 0;
        std::map<QByteArray, int> tokens;
    };

    void readFile();
    void look(const SimProcess& process, Seen& seen);
    [[nodiscard]] bool isSuperseded(const Ledger::SignIn& signIn) const;
    [[nodiscard]] bool mayEnd(int number) const;
    [[nodiscard]] QString checkShown(const SimProcess& process, Seen& seen) const;
    [[nodiscard]] QString checkWaits() const;
    [[nodiscard]] QString checkEarly() const;
    [[nodiscard]] QString checkTokens() const;
    [[nodiscard]] bool isHeld(const QByteArray& key, int token) const;
    [[nodiscard]] QString checkAgreed(const SimProcess& process) const;
    [[nodiscard]] QString checkOAuth2(const SimProcess& process) const;
    [[nodiscard]] static QString checkTold(const SimProcess& process, const Seen& seen);

    const Machine& m_machine;
    const Processes& m_processes;
    std::vector<Seen> m_seen; ///< Of the processes.
    std::set<int> m_everInFile;
    std::set<int> m_taken;        ///< Tokens that a process has had in memory: the answer to its request has arrived.
    std::map<int, qint64> m_used; ///< Sign-ins that a process or the file has shown, and since when.
    File m_file;
};

} // namespace Velquor::Simulation
