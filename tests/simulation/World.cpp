#include "simulation/World.h"

#include <algorithm>

namespace Velquor::Simulation {

namespace {
constexpr int windUpSteps = 100000;
constexpr int secondPatience = 10; ///< Alarms.
} // namespace

World::World(Choices& choices, const Options& options)
    : m_choices(choices)
    , m_options(options)
    , m_scheduler(choices, options.expectedSteps)
    , m_report(options.keepsLines) {}

void World::endAll() {
    for (const std::unique_ptr<Process>& process : m_processes)
        kill(*process);
    endKilled();
    m_kept.clear();
}

Process& World::addProcess(const QByteArray& name) {
    m_processes.push_back(std::make_unique<Process>());
    m_processes.back()->name = name;
    return *m_processes.back();
}

QByteArray World::uniqueName(const QByteArray& wanted) const {
    QByteArray name = wanted;
    const auto isTaken = [&name](const std::unique_ptr<Actor>& actor) { return actor->name == name; };
    for (int number = 2; std::any_of(m_actors.begin(), m_actors.end(), isTaken); number++)
        name = wanted + QByteArray::number(number);
    return name;
}

Actor& World::addActor(Process& process, const QByteArray& name, QThread& thread) {
    m_actors.push_back(std::make_unique<Actor>(process, uniqueName(process.name + '.' + name), thread));
    return *m_actors.back();
}

Actor& World::actorOf(const QThread& thread) const {
    // The newest: an earlier thread may have had the same address.
    const auto found = std::find_if(m_actors.rbegin(), m_actors.rend(),
                                    [&thread](const std::unique_ptr<Actor>& actor) { return actor->thread == &thread; });
    if (found == m_actors.rend())
        qFatal("A thread that the world has not made is used as an actor.");
    return **found;
}

void World::appear(Actor& actor) {
    actor.isPresent = true;
    m_present.push_back(&actor);
}

void World::note(const QByteArray& text) {
    if (!m_running || !m_running->process.isKilled)
        m_report.add(m_steps, m_nowUs, m_running ? m_running->name : QByteArray("director"), text);
}

bool World::waitUntil(const std::function<bool()>& isReady, qint64 deadlineUs, const QByteArray& what, Actor::Waits waits) {
    Actor* const actor = m_running;
    if (!actor || actor->thread != QThread::currentThread())
        qFatal("A thread that is no actor waits for %s.", what.constData());
    actor->isReady = isReady;
    actor->deadlineUs = deadlineUs;
    actor->waitsSinceUs = nowUs();
    actor->what = what;
    actor->waits = waits;
    passOn(*actor);
    actor->waits = Actor::Waits::Busy;
    return !std::exchange(actor->isForced, false) && (!isReady || isReady());
}

void World::yield(const QByteArray& what) {
    (void)waitUntil(std::function<bool()>(), never, what);
}

void World::sleep(qint64 spanMs) {
    (void)waitUntil([] { return false; }, nowUs() + spanMs * 1000, "sleeps");
}

void World::leave(Actor& actor) {
    actor.isPresent = false;
    m_present.erase(std::find(m_present.begin(), m_present.end(), &actor));
    m_running = nullptr;
    // The director ends this step: the thread has lost what Qt keeps for it, and the check may need that.
    m_directorsBaton.release();
}

bool World::canGoOn(const Actor& actor) const {
    return actor.isForced || actor.deadlineUs <= m_nowUs + actor.process.skewUs || !actor.isReady || actor.isReady();
}

std::vector<Actor*> World::present(const Process* process) const {
    std::vector<Actor*> found;
    found.reserve(m_present.size());
    for (Actor* const actor : m_present)
        if (process ? &actor->process == process : !actor->process.isKilled)
            found.push_back(actor);
    return found;
}

std::vector<Actor*> World::runnable(const Process* process) const {
    std::vector<Actor*> found = present(process);
    found.erase(std::remove_if(found.begin(), found.end(), [this](const Actor* actor) { return !canGoOn(*actor); }), found.end());
    return found;
}

qint64 World::nextDeadlineUs(const Process* process) const {
    qint64 next = never;
    for (const Actor* const actor : present(process))
        next = std::min(next, actor->deadlineUs);
    return next;
}

QString World::run(qint64 spanMs, int maxSteps, const Check& check) {
    m_leg = {m_nowUs + spanMs * 1000, maxSteps, check, {}, false};
    while (!m_leg.isOver()) {
        endKilled();
        if (Actor* const actor = beginStep())
            lend(*actor);
        if (m_isStepOpen)
            endStep();
    }
    return m_leg.broken;
}

Actor* World::beginStep() {
    m_isStepOpen = true;
    std::vector<Actor*> actors = runnable(nullptr);
    while (actors.empty()) {
        if (!advanceTime())
            return nullptr;
        actors = runnable(nullptr);
    }
    m_names.clear();
    for (const Actor* const actor : actors)
        m_names.push_back(actor->name);
    Actor& actor = *actors[std::size_t(m_scheduler.choose(m_names))];
    passSomeTime();
    actor.process.steps++;
    m_report.add(++m_steps, m_nowUs, actor.name, actor.what);
    return &actor;
}

void World::endStep() {
    m_isStepOpen = false;
    m_leg.stepsLeft--;
    if (m_isAlarmed)
        m_leg.broken = QStringLiteral("%1 was blocked in the system: a seam is missing").arg(QString::fromUtf8(m_last->name));
    if (m_leg.broken.isEmpty() && m_leg.check)
        m_leg.broken = m_leg.check();
}

/// To the next time at which an actor goes on. False when there is none in this leg.
bool World::advanceTime() {
    m_leg.broken = stuck();
    if (!m_leg.broken.isEmpty())
        return false;
    const qint64 next = nextDeadlineUs(nullptr);
    m_leg.isQuiet = next > m_leg.untilUs;
    // A late step may have passed the end of the span.
    m_nowUs = std::max(m_nowUs, std::min(next, m_leg.untilUs));
    return !m_leg.isQuiet;
}

/// Between two steps, on the thread of the one that ends here. It goes on by itself when it is the next one.
void World::passOn(Actor& actor) {
    m_running = nullptr;
    Actor* next = nullptr;
    // No step is open while the director winds up a process. It has the baton too when there is one to be wound up.
    if (m_isStepOpen) {
        endStep();
        next = m_leg.isOver() || hasKilled() ? nullptr : beginStep();
    }
    if (next)
        m_running = m_last = next;
    m_passes++;
    if (next == &actor)
        return;
    (next ? next->baton : m_directorsBaton).release();
    actor.baton.acquire();
}

void World::passSomeTime() {
    static constexpr qint64 spansUs[] = {0, 100, 1000, 10000, 100000, 1000000};
    if (!m_choices.chance(m_options.latePercent, "late"))
        return;
    const int span = m_choices.pick(int(std::size(spansUs)) + 1, "span");
    const qint64 next = nextDeadlineUs(nullptr);
    if (span < int(std::size(spansUs)))
        m_nowUs += spansUs[span];
    else if (next != never)
        fallAsleep(next);
}

/// The machine sleeps, which prolongs no wait by a fault of the code.
void World::fallAsleep(qint64 untilUs) {
    const qint64 spanUs = std::max<qint64>(0, untilUs - m_nowUs);
    for (Actor* const actor : present(nullptr))
        actor->waitsSinceUs += spanUs;
    m_nowUs += spanUs;
}

/// Director: the actor runs, and those that follow it.
void World::lend(Actor& actor) {
    m_running = m_last = &actor;
    actor.baton.release();
    awaitBaton();
    m_running = nullptr;
}

void World::awaitBaton() {
    int alarms = 0;
    int seen = m_passes;
    while (!m_directorsBaton.tryAcquire(1, m_options.alarmMs)) {
        const int before = std::exchange(seen, m_passes);
        if (seen != before) {
            alarms = 0;
            continue;
        }
        m_isAlarmed = true;
        if (++alarms > secondPatience)
            qFatal("%s is blocked in the system for good: a seam is missing.", m_last->name.constData());
    }
}

QString World::stuck() const {
    const bool canTimePass = nextDeadlineUs(nullptr) != never;
    QStringList waits;
    for (const Actor* const actor : present(nullptr)) {
        const bool isLong = m_nowUs - actor->waitsSinceUs > m_options.longestWaitUs;
        if (actor->waits == Actor::Waits::Busy && actor->deadlineUs == never && (isLong || !canTimePass))
            waits += QString::fromUtf8(actor->name + ": " + actor->what);
    }
    return waits.isEmpty() ? QString() : QStringLiteral("a deadlock: ") + waits.join(QStringLiteral("; "));
}

bool World::hasKilled() const {
    return std::any_of(m_processes.begin(), m_processes.end(),
                       [](const std::unique_ptr<Process>& process) { return process->isKilled && !process->isGone; });
}

void World::endKilled() {
    for (const std::unique_ptr<Process>& process : m_processes)
        if (process->isKilled && !process->isGone)
            windUp(*process);
}

/// The threads of a killed process run to their end, in a time of their own that the others do not see.
void World::windUp(Process& process) {
    for (int left = windUpSteps; !present(&process).empty(); left--) {
        if (left == 0)
            qFatal("The threads of %s do not end.", process.name.constData());
        windUpStep(process);
    }
    process.isGone = true;
}

void World::windUpStep(Process& process) {
    std::vector<Actor*> actors = runnable(&process);
    if (actors.empty()) {
        // The first thread ends the others, as its code does it. They are asked themselves only when nothing else can happen.
        const std::vector<Actor*> waiting = present(&process);
        waiting.front()->thread->quit();
        qint64 next = never;
        for (const Actor* const actor : waiting)
            next = actor->waits == Actor::Waits::Busy ? std::min(next, actor->deadlineUs) : next;
        if (runnable(&process).empty() && next != never)
            process.skewUs = std::max(process.skewUs, next - m_nowUs);
        for (auto actor = waiting.begin(); actor != waiting.end() && runnable(&process).empty(); ++actor)
            (*actor)->thread->quit();
        if (runnable(&process).empty())
            waiting.front()->isForced = true;
        return;
    }
    Actor& actor = **std::min_element(actors.begin(), actors.end(),
                                      [](const Actor* left, const Actor* right) { return left->turn < right->turn; });
    actor.turn = ++m_turns;
    lend(actor);
    m_isAlarmed = false; // It would be blamed on the next one.
}

} // namespace Velquor::Simulation
