#pragma once

#include "simulation/Report.h"
#include "simulation/Scheduler.h"

#include <QSemaphore>
#include <QThread>
#include <atomic>
#include <memory>

namespace Velquor::Simulation {

/// One of the processes that run side by side. A plain value, owned by the world.
struct Process {
    QByteArray name;
    bool isKilled = false; ///< Nothing that it does reaches the world any more.
    bool isGone = false;   ///< All its threads have ended.
    int steps = 0;         ///< That its threads have begun.
    qint64 skewUs = 0;     ///< How far its own time went on after it was killed.
};

/// One thread of a process. Owned by the world, also after the thread has ended.
struct Actor {
    Actor(Process& process, QByteArray name, QThread& thread)
        : process(process)
        , name(std::move(name))
        , thread(&thread) {}

    Process& process;
    QByteArray name; ///< Begins with that of the process.
    QThread* thread; ///< Valid while the actor is present.

    enum class Waits {
        Idle, ///< In its outermost event loop, with nothing to do.
        Busy, ///< In the middle of something.
    } waits = Waits::Busy;
    std::function<bool()> isReady; ///< What it waits for.
    qint64 deadlineUs = 0;         ///< When it goes on without it.
    qint64 waitsSinceUs = 0;
    QByteArray what = "starts"; ///< For the report.
    qint64 turn = 0;            ///< When it ran last, while its killed process is wound up.
    bool isForced = false;
    bool isPresent = false; ///< Its thread was started and has not ended.
    QSemaphore baton;       ///< Released by the thread that passes the baton to this one.
};

/// The virtual time and the threads of all processes, of which exactly one runs at a time.
///
/// A baton goes from thread to thread: everything that a holder did happens before what the next one does, so what they share
/// needs no lock. The director (the test's thread) passes it to the actor of the first step. An actor that waits or yields checks
/// its step, chooses the actor of the next one and passes the baton to it; the director gets it back when the run is over, when a
/// thread ends, and when a process was killed. Time moves on when no actor can go on, and by chance. Thread: as the groups below
/// say; `check` runs on any of them, as if it were the director's. Owner: one run. Errors: the text of `run`.
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
    [[nodiscard]] Actor& addActor(Process& process, const QByteArray& name, QThread& thread);
    /// Its thread is started, whose first act is to call `enter`.
    void appear(Actor& actor);
    [[nodiscard]] Actor& actorOf(const QThread& thread) const;

    /// @name Running actor
    /// Null while the director runs, and between two steps.
    [[nodiscard]] Actor* running() const { return m_running; }
    /// Passes the baton on until the condition holds or the deadline is reached. Returns whether the condition holds.
    bool waitUntil(const std::function<bool()>& isReady, qint64 deadlineUs, const QByteArray& what,
                   Actor::Waits waits = Actor::Waits::Busy);
    void yield(const QByteArray& what);
    void sleep(qint64 spanMs);

    /// @name The actor's own thread, at its start and its end
    void enter(Actor& actor) { actor.baton.acquire(); }
    void leave(Actor& actor);

private:
    /// What one call of `run` is to do, and what has come of it.
    struct Leg {
        qint64 untilUs = 0;
        int stepsLeft = 0;
        Check check;
        QString broken;
        bool isQuiet = false; ///< Nothing else happens in its span.
        [[nodiscard]] bool isOver() const { return isQuiet || stepsLeft == 0 || !broken.isEmpty(); }
    };

    /// The actor of the next step; null when the leg is over.
    [[nodiscard]] Actor* beginStep();
    void endStep();
    void passOn(Actor& actor);
    void lend(Actor& actor);
    void awaitBaton();
    [[nodiscard]] bool advanceTime();
    void passSomeTime();
    void fallAsleep(qint64 untilUs);
    [[nodiscard]] bool canGoOn(const Actor& actor) const;
    [[nodiscard]] std::vector<Actor*> runnable(const Process* process) const;
    [[nodiscard]] std::vector<Actor*> present(const Process* process) const;
    [[nodiscard]] qint64 nextDeadlineUs(const Process* process) const;
    [[nodiscard]] QString stuck() const;
    [[nodiscard]] QByteArray uniqueName(const QByteArray& wanted) const;
    [[nodiscard]] bool hasKilled() const;
    void endKilled();
    void windUp(Process& process);
    void windUpStep(Process& process);

    Choices& m_choices;
    const Options m_options;
    Scheduler m_scheduler;
    Report m_report;
    Leg m_leg;
    QSemaphore m_directorsBaton;
    std::atomic<int> m_passes{0}; ///< For the director, to see that the others go on.
    std::atomic<bool> m_isAlarmed{false};
    qint64 m_nowUs = 0;
    qint64 m_suspendedUs = 0;
    int m_steps = 0;
    qint64 m_turns = 0;
    bool m_isStepOpen = false; ///< It was begun, and is not checked yet.
    Actor* m_running = nullptr;
    Actor* m_last = nullptr; ///< That had the baton, other than the director.
    std::vector<std::unique_ptr<Process>> m_processes;
    std::vector<std::unique_ptr<Actor>> m_actors;
    std::vector<Actor*> m_present;
    std::vector<QByteArray> m_names; ///< Of those that may run, for the scheduler.
    std::vector<std::shared_ptr<void>> m_kept;
};

} // namespace Velquor::Simulation
