// Another process of the user, for the tests of the flags that processes show each other.
//   state_helper KEY FOLDER         carries out the lines of its standard input and answers each with a line; removes its record
//                                   when its standard input ends
//     set NAME       sets the flag   "set"
//     claim NAME MS  sets it unless another process shows it, when the clock says MS   "won" or "lost"
//     die            ends at once, leaving everything as it is
//   state_helper KEY FOLDER COUNT   opens the state COUNT times, each time setting a flag and removing the record
//   state_helper KEY FOLDER busy    sets and deletes flags until it is killed, saying "+" for each

#include "TestKit/HelperProgram.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>
#include <cstdlib>
#include <iostream>
#include <string>

using namespace Velquor;
using TestKit::say;

namespace {

Util::ProcessProperties flag(const QString& name) {
    return {{"ProductKey", "product"}, {name, true}};
}

// All processes with the same moment start at once.
bool claim(Util::ProcessState& state, const QString& name, qint64 moment) {
    QThread::msleep(static_cast<unsigned long>(qBound(qint64(0), moment - QDateTime::currentMSecsSinceEpoch(), qint64(1000))));
    return state.setUnlessSetElsewhere(flag(name));
}

int obey(Util::ProcessState& state) {
    say("ready");
    for (std::string line; std::getline(std::cin, line);) {
        const QString text = QString::fromStdString(line).trimmed();
        const QString name = text.section(QLatin1Char(' '), 1, 1);
        if (text == QLatin1String("die"))
            std::_Exit(42);
        if (text.startsWith(QLatin1String("set ")))
            say(state.setPropertyMap(flag(name)) ? "set" : "not set");
        else if (text.startsWith(QLatin1String("claim ")))
            say(claim(state, name, text.section(QLatin1Char(' '), 2).toLongLong()) ? "won" : "lost");
    }
    state.deleteProcessState();
    return 0;
}

int openOften(const Util::ProcessStateDependencies& services, const QString& key, int count) {
    const QString name = QStringLiteral("Flag of %1").arg(QCoreApplication::applicationPid());
    for (int round = 0; round < count; ++round) {
        Util::ProcessState state(services);
        state.setKey(key);
        if (!state.ensureCreated() || !state.setUnlessSetElsewhere(flag(name)) || state.queryProperty(flag(name)))
            return 1;
        if (!state.dump({}).contains(QStringLiteral("        %1 = true").arg(name)))
            return 2;
        state.deleteProcessState();
    }
    return 0;
}

[[noreturn]] void beBusy(Util::ProcessState& state) {
    for (;;) {
        state.setPropertyMap(flag("Busy"));
        say("+");
        state.deleteProperty("Busy");
    }
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const auto services = Util::systemProcessStateDependencies(arguments.value(2), Log::makeLogger("Helper"));
    if (arguments.value(3).toInt() > 0)
        return openOften(services, arguments.value(1), arguments.value(3).toInt());
    Util::ProcessState state(services);
    state.setKey(arguments.value(1));
    if (arguments.value(3) == QLatin1String("busy"))
        beBusy(state);
    return obey(state);
}
