#pragma once

#include "simulation/Platform/OneCore.h"
#include "simulation/VirtualApplication.h"

#include <QHash>
#include <QtTest>

namespace Velquor::Simulation {

/// The main function of a test that simulates: nothing but the seeds of its runs decides what happens in them.
template <typename Test>
int runTest(int argumentCount, char** arguments) {
    qSetGlobalQHashSeed(0);
    useOneCore();
    const VirtualApplication application(argumentCount, arguments);
    Test test;
    return QTest::qExec(&test, argumentCount, arguments);
}

} // namespace Velquor::Simulation
