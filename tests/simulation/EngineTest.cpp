#include "TestKit/Test.h"
#include "simulation/Shrinker.h"
#include "simulation/SimClock.h"
#include "simulation/SimLock.h"
#include "simulation/SimThreads.h"
#include "simulation/TestMain.h"

#include <QSemaphore>

using namespace Velquor;
using namespace Velquor::Simulation;

namespace {

constexpr qint64 minuteMs = 60000;
constexpr int manySteps = 5000;

/// A process with one thread that does one thing. Owner: the world.
class Worker {
public:
    using Work = std::function<void()>;

    Worker(World& world, const QByteArray& process, Work work)
        : process(world.addProcess(process))
        , threads(world, this->process)
        , m_main(threads.make("main")) {
        m_object.moveToThread(m_main.get());
        QObject::connect(m_main.get(), &QThread::started, &m_object, std::move(work));
        threads.start(*m_main);
    }

    Process& process;
    SimThreads threads;

private:
    const std::unique_ptr<QThread> m_main;
    QObject m_object;
};

Process& work(World& world, const QByteArray& process, Worker::Work work) {
    return world.keep(std::make_unique<Worker>(world, process, std::move(work))).process;
}

/// Each of three processes adds one to a number, with or without a lock.
QString addsOne(World& world, bool isLocked) {
    struct Shared {
        explicit Shared(World& world)
            : lock(world, "the file") {}
        SimLock lock;
        int number = 0;
    };
    Shared& shared = world.keep(std::make_unique<Shared>(world));
    for (const char* const name : {"A", "B", "C"}) {
        work(world, name, [&world, &shared, isLocked] {
            std::unique_lock<SimLock> lock(shared.lock, std::defer_lock);
            if (isLocked)
                lock.lock();
            const int read = shared.number;
            world.yield("saves");
            shared.number = read + 1;
        });
    }
    const QString rule = world.run(minuteMs, manySteps);
    return rule.isEmpty() && shared.number != 3 ? QStringLiteral("an update was lost") : rule;
}

/// Two threads take two locks, in the same order or not; a timer of another process lets time pass when `isTimed`.
QString takesTwoLocks(World& world, bool isSameOrder, bool isTimed) {
    struct Shared {
        explicit Shared(World& world)
            : first(world, "the first lock")
            , second(world, "the second lock") {}
        SimLock first;
        SimLock second;
        QTimer timer;
    };
    Shared& shared = world.keep(std::make_unique<Shared>(world));
    const auto take = [](SimLock& outer, SimLock& inner) {
        const std::lock_guard<SimLock> outerLock(outer);
        const std::lock_guard<SimLock> innerLock(inner);
    };
    work(world, "A", [&shared, take] { take(shared.first, shared.second); });
    work(world, "B", [&shared, take, isSameOrder] {
        take(isSameOrder ? shared.first : shared.second, isSameOrder ? shared.second : shared.first);
    });
    if (isTimed)
        work(world, "C", [&world] {
            for (int minute = 0; minute < 30; minute++)
                world.sleep(minuteMs);
        });
    return world.run(60 * minuteMs, manySteps);
}

} // namespace

class EngineTest : public QObject {
    Q_OBJECT

private slots:
    void anotherSourceOfChanceIsFound() {
        const Runs runs([](World& world) {
            work(world, "A", [&world] {
                static int number = 0;
                world.note(QByteArray::number(number++));
            });
            return world.run(minuteMs, manySteps);
        });
        QVERIFY(runs.runTwice(1).rule.startsWith("two runs of the same seed differ"));
    }

    void faultsAreFoundAndShrunk() {
        const TestKit::Rows row([&](const Scenario& faulty, const Scenario& mended, const QString& rule, int shortest) {
            const Runs runs(faulty);
            int found = 0;
            for (quint64 seed = 0; seed < 50; seed++) {
                QCOMPARE(Runs(mended).run(seed).rule, QString());
                const Result result = runs.run(seed);
                if (result.rule.isEmpty())
                    continue;
                found++;
                QCOMPARE(result.rule, rule);
                const Record shrunk = Shrinker([&runs](const Record& record) { return runs.replay(record); }).shrink(result);
                QVERIFY2(int(shrunk.size()) <= shortest, textOf(shrunk).constData());
                const Result again = runs.replay(recordFromText(textOf(shrunk)));
                QCOMPARE(again.rule, rule);
                QCOMPARE(textOf(again.record), textOf(shrunk));
            }
            QVERIFY(found > 5);
            qInfo("%d of 50 seeds", found);
        });
        using std::placeholders::_1;
        row("lost update", std::bind(addsOne, _1, false), std::bind(addsOne, _1, true), "an update was lost", 9);
        const auto deadlock = QStringLiteral("a deadlock: A.main: waits for the second lock; B.main: waits for the first lock");
        row("deadlock", std::bind(takesTwoLocks, _1, false, false), std::bind(takesTwoLocks, _1, true, false), deadlock, 9);
        row("deadlock while time passes", std::bind(takesTwoLocks, _1, false, true), std::bind(takesTwoLocks, _1, true, true),
            deadlock, 24);
    }

    void aThreadThatBlocksInTheSystemRaisesTheAlarm() {
        World::Options options;
        options.alarmMs = 100;
        QSemaphore semaphore;
        std::thread releaser([&semaphore] {
            QThread::msleep(300);
            semaphore.release();
        });
        const Runs runs(
            [&semaphore](World& world) {
                work(world, "A", [&semaphore] { semaphore.acquire(); });
                return world.run(minuteMs, manySteps);
            },
            options);
        const QString rule = runs.run(1).rule;
        releaser.join();
        QCOMPARE(rule, QString("A.main was blocked in the system: a seam is missing"));
    }

    void clocksJumpAndTheMachineSleeps() {
        struct Seen {
            QDateTime date;
            qint64 steadyNs = 0;
        } seen;
        const Runs runs([&seen](World& world) {
            SimClock& clock = world.keep(std::make_unique<SimClock>(world));
            work(world, "A", [&world, &clock, &seen] {
                world.sleep(1000);
                clock.jump(-minuteMs);
                world.suspend(10 * minuteMs);
                world.sleep(1000);
                seen = {clock.now(), clock.steadyNs()};
            });
            return world.run(minuteMs, manySteps);
        });
        QCOMPARE(runs.replay({}).rule, QString());
        QCOMPARE(seen.date, SimClock::start().addMSecs(2000 + 9 * minuteMs));
        QCOMPARE(seen.steadyNs, qint64(2000000000));
    }

    // In a nested loop, while the thread runs late at times.
    void timersFireAtTheirTime() {
        int ticks = 0;
        const Runs runs([&ticks](World& world) {
            ticks = 0;
            work(world, "A", [&ticks] {
                QTimer ticking;
                QObject::connect(&ticking, &QTimer::timeout, [&ticks] { ticks++; });
                ticking.start(100);
                QEventLoop loop;
                QTimer::singleShot(1050, &loop, &QEventLoop::quit);
                loop.exec();
            });
            const QString rule = world.run(minuteMs, manySteps);
            return rule.isEmpty() && (world.nowUs() < 1050000 || ticks > world.nowUs() / 100000) ? QString::number(ticks) : rule;
        });
        for (quint64 seed = 0; seed < 50; seed++) {
            QCOMPARE(runs.run(seed).rule, QString());
            QVERIFY(ticks > 0);
        }
        QCOMPARE(runs.replay({}).rule, QString());
        QCOMPARE(ticks, 10);
    }

    void aKilledProcessReachesNothing() {
        bool hasEnded = false;
        const Runs runs([&hasEnded](World& world) {
            SimLock& lock = world.keep(std::make_unique<SimLock>(world, "the file"));
            Process& victim = work(world, "A", [&world, &lock, &hasEnded] {
                const std::lock_guard<SimLock> held(lock);
                world.sleep(10 * minuteMs);
                world.note("is still there");
                hasEnded = true;
            });
            work(world, "B", [&world, &lock, &victim] {
                world.sleep(1000);
                world.kill(victim);
                const std::lock_guard<SimLock> held(lock);
                world.note("has the lock");
            });
            const QString rule = world.run(minuteMs, manySteps);
            return world.nowUs() > minuteMs * 1000 ? QStringLiteral("the others' time went on") : rule;
        });
        const Result result = runs.replay({});
        QCOMPARE(result.rule, QString());
        QVERIFY(hasEnded);
        QVERIFY(result.lines.join('\n').contains("B.main             has the lock"));
        QVERIFY(!result.lines.join('\n').contains("is still there"));
    }
};

int main(int argumentCount, char** arguments) {
    return runTest<EngineTest>(argumentCount, arguments);
}

#include "EngineTest.moc"
