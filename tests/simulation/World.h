#pragma once

#include "simulation/Baton.h"
#include "simulation/Report.h"
#include "simulation/Scheduler.h"

#include <QThread>
#include <memory>

namespace Velquor::Simulation {

/// One of the processes that run side by side. A plain value, owned by the world.
struct Process {
    QByteArray name;
    bool isKilled = false; ///< Nothing that it does reaches the world any more.
    bool isGone = false;   ///< All its threads have ended.
    qint64 skewUs = 0;     ///< How far its own time went on after it was killed.
};

/// One thread of a process. Owned by the world, also after the thread has ended.
struct Actor {
    Process& process;
    QByteArray name; ///< Begins with that of the process.
    QThread* thread; ///< Valid while the actor is present.
    int number;      ///< For the baton.

    enum class Waits {
        Idle, ///< In its outermost event loop, with nothing to do.
        Busy, ///< In the middle of something.
    } waits = Waits::Busy;
    std::function<bool()> isReady; ///< What it waits for.
    qint64 deadlineUs = 0;         ///< When it goes on without it.
    qint64 waitsSinceUs = 0;
    QByteArray what; ///< For the report.
    qint64 turn = 0; ///< When it ran last, while its killed process is wound up.
    bool isForced = false;
    bool isPresent = false; ///< Its thread was started and has not ended.
};

/// The virtual time and the threads of all processes, of which exactly one runs at a time.
///
/// The director (the test's thread) takes one step after another: it chooses an actor that can go on, lends it the baton, and has
/// it back when that actor waits or yields. Time moves on when no actor can go on, and by chance. Thread: as the groups below
/// say. Owner: one run. Errors: the text of `run`.
class World {
public:
    struct Options {
        int alarmMs = 5000;               ///< Real time that one step may take.
        qint64 longestWaitUs = 600000000; ///< Of a wait without a limit of its own.
        int latePercent = 5;              ///< How often time passes although an actor could go on.
        int expectedSteps = 200;          ///< For the scheduler.
        bool keepsLines = false;          ///< Of the report.
    };
    static constexpr qint64 never = std::numeric_limits<qint64>::max();

    World(Choices& choices, const Options& options);
    ~World() { endAll(); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// @name Director
    [[nodiscard]] Process& addProcess(const QByteArray& name);
    using Check = std::function<QString()>;
    /// Takes steps for a span of virtual time, at most so many. Returns the text of the rule that was broken: the check's, a
    /// deadlock, a wait without end, or a step that did not end. Empty when all is well.
    [[nodiscard]] QString run(qint64 spanMs, int maxSteps, const Check& check = {});
    [[nodiscard]] int steps() const { return m_steps; }
    /// Owns what the run has made until all threads have ended.
    template <typename Made>
    Made& keep(std::unique_ptr<Made> made) {
        Made& kept = *made;
        m_kept.push_back(std::shared_ptr<Made>(std::move(made)));
        return kept;
    }
    /// Kills all processes and waits for their threads. Ends the program when one does not end.
    void endAll();

    /// @name Director or the running actor
    [[nodiscard]] qint64 nowUs() const { return m_nowUs + (m_running ? m_running->process.skewUs : 0); }
    /// Time during which the machine slept: dates move on, timers do not.
    void suspend(qint64 spanMs) { m_suspendedUs += spanMs * 1000; }
    [[nodiscard]] qint64 suspendedUs() const { return m_suspendedUs; }
    [[nodiscard]] Choices& choices() { return m_choices; }
    [[nodiscard]] const Report& report() const { return m_report; }
    /// A line of the running actor for the report.
    void note(const QByteArray& text);
    /// Cuts the process off at once, and ends its threads out of sight before the next step.
    void kill(Process& process) { process.isKilled = true; }
    /// The actor becomes present when its thread is started, whose first act is to call `enter`.
    [[nodiscard]] Actor& addActor(Process& process, const QByteArray& name, QThread& thread);
    [[nodiscard]] Actor& actorOf(const QThread& thread) const;

    /// @name Running actor
    /// Null while the director runs.
    [[nodiscard]] Actor* running() const { return m_running; }
    /// Gives the baton back until the condition holds or the deadline is reached. Returns whether the condition holds.
    bool waitUntil(const std::function<bool()>& isReady, qint64 deadlineUs, const QByteArray& what,
                   Actor::Waits waits = Actor::Waits::Busy);
    void yield(const QByteArray& what);
    void sleep(qint64 spanMs);

    /// @name The actor's own thread, at its start and its end
    void enter(Actor& actor) { m_baton.await(actor.number); }
    void leave(Actor& actor);

private:
    [[nodiscard]] QString step(qint64 untilUs);
    [[nodiscard]] QString runActor(Actor& actor);
    void passSomeTime();
    void fallAsleep(qint64 untilUs);
    [[nodiscard]] bool canGoOn(const Actor& actor) const;
    [[nodiscard]] std::vector<Actor*> runnable(const Process* process) const;
    [[nodiscard]] std::vector<Actor*> present(const Process* process) const;
    [[nodiscard]] qint64 nextDeadlineUs(const Process* process) const;
    [[nodiscard]] QString stuck() const;
    [[nodiscard]] QByteArray uniqueName(const QByteArray& wanted) const;
    void endKilled();
    void windUp(Process& process);
    void windUpStep(Process& process);

    Choices& m_choices;
    const Options m_options;
    Scheduler m_scheduler;
    Report m_report;
    Baton m_baton;
    qint64 m_nowUs = 0;
    qint64 m_suspendedUs = 0;
    int m_steps = 0;
    qint64 m_turns = 0;
    bool m_isQuiet = false;
    Actor* m_running = nullptr;
    std::vector<std::unique_ptr<Process>> m_processes;
    std::vector<std::unique_ptr<Actor>> m_actors;
    std::vector<std::shared_ptr<void>> m_kept;
};

} // namespace Velquor::Simulation
