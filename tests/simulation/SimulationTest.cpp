#include "TestKit/Test.h"
#include "simulation/Library/Household.h"
#include "simulation/Runs.h"
#include "simulation/TestMain.h"

#include <QElapsedTimer>

using namespace Velquor;
using namespace Velquor::Simulation;

namespace {

int numberFrom(const char* variable, int otherwise) {
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

constexpr int longRun = 2000;

} // namespace

/// Many runs of several processes each. VQ_SIMULATION_SEED and VQ_SIMULATION_SCHEDULES say which and how many.
class SimulationTest : public QObject {
    Q_OBJECT

private slots:
    void processesAgree() {
        const TestKit::Rows row([&](bool hasFaults, bool hasFileFaults) {
            Household::Marks marks;
            const Scenario scenario = [&marks, hasFaults, hasFileFaults](World& world) {
                Household::Options options;
                options.hasFaults = hasFaults;
                options.hasFileFaults = hasFileFaults;
                return world.keep(std::make_unique<Household>(world, options)).live(marks);
            };
            World::Options options;
            options.expectedSteps = Runs(scenario).expectedSteps();
            marks.clear();
            const Runs runs(scenario, options);
            const quint64 first = quint64(numberFrom("VQ_SIMULATION_SEED", 1));
            const int schedules = numberFrom("VQ_SIMULATION_SCHEDULES", 100);
            QElapsedTimer timer;
            timer.start();
            qint64 steps = 0;
            for (int index = 0; index < schedules; index++) {
                const quint64 seed = first + quint64(index);
                const Result result = index % 20 == 0 ? runs.runTwice(seed) : runs.run(seed);
                steps += result.steps;
                if (!result.rule.isEmpty())
                    QFAIL(qPrintable(runs.explain(seed, result)));
            }
            qInfo("%d schedules, %lld steps, %lld ms", schedules, steps, timer.elapsed());
            for (const auto& mark : marks) {
                qInfo("%d times: %s", mark.second, qPrintable(mark.first));
                // In a long run every situation must have happened, or it shows nothing about that one.
                if (hasFileFaults && schedules >= longRun)
                    QVERIFY2(mark.second > 0, qPrintable(mark.first));
            }
        });
        row("all goes well", false, false);
        row("with faults", true, false);
        row("with faults of the file", true, true);
    }
};

int main(int argumentCount, char** arguments) {
    return runTest<SimulationTest>(argumentCount, arguments);
}

#include "SimulationTest.moc"
