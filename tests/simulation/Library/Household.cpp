#include "simulation/Library/Household.h"

#include <algorithm>

namespace Velquor::Simulation {

namespace {

const QStringList productKeys{QStringLiteral("product-0001"), QStringLiteral("product-0002")};

constexpr qint64 minuteMs = 60000;
// Longer than the life of a token, so that each was renewed once, and the last file was read.
constexpr qint64 quietMs = 75 * minuteMs;
constexpr int quietSteps = 100000;

} // namespace

Household::Household(World& world, const Options& options)
    : m_world(world)
    , m_options(options)
    , m_machine(world)
    , m_oracle(m_machine, m_processes) {
    m_wanted += std::size_t(world.choices().pick(3, "processes"));
    if (options.hasFaults)
        drawHarm();
    m_machine.usesOAuth2 = world.choices().chance(50, "OAuth2");
    m_machine.habits.signOut = world.choices().chance(50, "rarely signs out") ? 0 : 2;
    m_machine.habits.end = world.choices().chance(50, "ends") ? 2 : 0;
    m_machine.isFaultless = !options.hasFaults && m_machine.habits.end == 0;
}

// Each kind of fault only in half of the runs: when all happen all the time, nobody ever gets signed in.
void Household::drawHarm() {
    const auto rate = [this](int rate, const char* what) { return m_world.choices().chance(50, what) ? rate : 0; };
    const int fileRate = m_options.hasFileFaults ? 10 : 0;
    const int jumpRate = m_options.hasFileFaults ? 3 : 0;
    m_harm = {rate(3, "kills"),       rate(fileRate, "locked files"), rate(fileRate, "unreadable files"), rate(5, "server down"),
              rate(1, "server ends"), rate(fileRate, "full disks"),   rate(jumpRate, "clock jumps")};
    m_machine.wire.faults = {rate(20, "lost events"), rate(10, "events twice"), rate(20, "late events")};
    m_machine.line.lostPercent = rate(10, "lost requests");
}

QString Household::live(Marks& marks) {
    QString broken;
    // Minute by minute, since nothing runs at all while all processes have ended.
    for (int minute = 0; minute < m_options.hours * 60 && m_world.steps() < m_options.maxSteps && broken.isEmpty(); minute++) {
        startMissing();
        broken = m_world.run(minuteMs, m_options.maxSteps, [this] { return afterStep(); });
    }
    if (broken.isEmpty())
        broken = beQuiet();
    count(marks);
    return broken;
}

QString Household::beQuiet() {
    m_machine.isQuiet = true;
    m_machine.wire.faults = {};
    m_machine.line.lostPercent = 0;
    m_machine.line.downUntilUs = m_machine.disk.lockedUntilUs = m_machine.disk.unreadableUntilUs = 0;
    m_machine.disk.fullUntilUs = 0;
    QString broken = m_world.run(quietMs, quietSteps, [this] { return m_oracle.check(); });
    if (broken.isEmpty() && !m_oracle.checkQuiet().isEmpty())
        // A refresh may be under way just now.
        broken = m_world.run(2 * minuteMs, quietSteps, [this] { return m_oracle.check(); });
    if (broken.isEmpty())
        broken = m_oracle.checkQuiet();
    if (!broken.isEmpty())
        return broken;
    m_machine.isSettled = true;
    return m_world.run(2 * minuteMs, quietSteps, [this] { return m_oracle.check(); });
}

QString Household::afterStep() {
    const QString broken = m_oracle.check();
    if (!broken.isEmpty())
        return broken;
    doHarm();
    startMissing();
    return {};
}

bool Household::happens(int perThousand, const char* what) {
    return perThousand > 0 && m_world.choices().rarely(perThousand, what);
}

qint64 Household::drawSpanUs() {
    static constexpr qint64 spansUs[] = {1000000, 200000, 12000000, 90000000, 600000000};
    return spansUs[m_world.choices().pick(int(std::size(spansUs)), "how long")];
}

void Household::doHarm() {
    const bool isUnsaved = m_oracle.isTokenUnsaved();
    if (happens(m_harm.kill * (isUnsaved ? 10 : 1), "kill")) {
        m_machine.marks["a kill between what the server did and the save"] += int(isUnsaved);
        kill();
    }
    harmFile();
    if (happens(m_harm.clockJumps, "clock jumps"))
        jumpClock();
    if (happens(m_harm.serverDown, "down"))
        m_machine.line.downUntilUs = m_world.nowUs() + drawSpanUs();
    if (happens(m_harm.serverEnds, "server ends")) {
        for (const auto& signIn : m_machine.line.ledger.signIns())
            m_machine.line.ledger.end(signIn.first);
        m_world.note("the server ends all sign-ins");
    }
}

void Household::harmFile() {
    if (happens(m_harm.fileLocked, "file locked"))
        m_machine.disk.lockedUntilUs = m_world.nowUs() + drawSpanUs();
    if (happens(m_harm.fileUnreadable, "file unreadable"))
        m_machine.disk.unreadableUntilUs = m_world.nowUs() + drawSpanUs();
    if (happens(m_harm.diskFull, "disk full"))
        m_machine.disk.fullUntilUs = m_world.nowUs() + drawSpanUs();
}

void Household::jumpClock() {
    // Two of them are less apart than the five minutes before its end in which a token is renewed.
    static constexpr qint64 errorsMs[] = {0, 1000, -1000, 2 * minuteMs, -2 * minuteMs};
    const qint64 errorMs = errorsMs[m_world.choices().pick(int(std::size(errorsMs)), "clock")];
    const qint64 jumpMs = errorMs - m_machine.clock.trueTime().msecsTo(m_machine.clock.now());
    if (jumpMs == 0)
        return;
    m_world.note("the clock jumps by " + QByteArray::number(jumpMs / 1000) + " s");
    m_machine.clock.jump(jumpMs);
    if (jumpMs < 0)
        m_machine.clockPutBackUs = m_world.nowUs();
    m_machine.marks[jumpMs < 0 ? "the clock jumps back" : "the clock jumps forward"]++;
}

void Household::kill() {
    std::vector<SimProcess*> alive;
    std::copy_if(m_processes.begin(), m_processes.end(), std::back_inserter(alive),
                 [](const SimProcess* process) { return process->isAlive(); });
    if (alive.empty())
        return;
    SimProcess& victim = *alive[std::size_t(m_world.choices().pick(int(alive.size()), "victim"))];
    m_world.note("kills " + victim.process().name);
    victim.kill();
}

void Household::startMissing() {
    const auto alive =
        std::count_if(m_processes.begin(), m_processes.end(), [](const SimProcess* process) { return process->isAlive(); });
    // The first ones at once, the later ones when their time has come.
    if (std::size_t(alive) < m_wanted && (m_processes.size() < m_wanted || m_world.choices().rarely(20, "start")))
        start();
}

void Household::start() {
    const QByteArray name =
        QByteArray(1, char('A' + m_processes.size() % m_wanted)) + QByteArray::number(int(m_processes.size() / m_wanted) + 1);
    const QString& key = productKeys[m_world.choices().pick(4, "product") == 3 ? 1 : 0];
    m_processes.push_back(&m_world.keep(std::make_unique<SimProcess>(m_machine, name, key)));
}

void Household::count(Marks& marks) const {
    for (const char* const seldom : {"a kill between what the server did and the save", "sign-out during a pending sign-in",
                                     "the clock jumps back", "the clock jumps forward"})
        marks[QString::fromLatin1(seldom)] += 0;
    for (const auto& mark : m_machine.marks)
        marks[mark.first] += mark.second;
    marks["two requests for a token at once"] += m_machine.claims.refusals;
    marks["a refused lock of the file"] += m_machine.disk.refusedLocks;
    marks["a file that cannot be read"] += m_machine.disk.failedReads;
    marks["a save on a full disk"] += m_machine.disk.failedWrites;
    marks["a lost event"] += m_machine.wire.lostCount();
    marks["a lost answer"] += m_machine.line.lostAnswers;
    marks["an outage that ends a sign-in"] += int(m_machine.line.exhausted.size());
    marks["a sign-in"] += int(m_machine.takenUp.size());
    marks["a sign-out"] += int(m_machine.leftByUser.size());
}

} // namespace Velquor::Simulation
