#include "Cancellation.h"
#include "Doctor/Checks.h"
#include "Platform/LockHolder.h"
#include "Platform/ShellCommands.h"

namespace Vqws {

namespace {

// No process needs the lock of this small file for so long.
constexpr int patienceMs = 3000;
constexpr int lookEveryMs = 100;

const auto name = QStringLiteral("lock holder");

} // namespace

Findings checkLock(const SetUp& setUp, Cancellation& cancellation) {
    LockHolder holder = loginStateLockHolder(setUp.dataFolder);
    for (int waitedMs = 0; holder.isHeld && waitedMs < patienceMs && cancellation.wait(lookEveryMs); waitedMs += lookEveryMs)
        holder = loginStateLockHolder(setUp.dataFolder);
    if (!holder.isHeld)
        return {ok(name, QStringLiteral("nobody holds the lock of the login state file"))};
    const QString sentence = QStringLiteral("continue that program if a debugger has stopped it, or else end it");
    return {fault(name,
                  QStringLiteral("%1 has been holding the lock of the login state file for more than %2 s")
                      .arg(holder.program)
                      .arg(patienceMs / 1000),
                  holder.process.isEmpty() ? act(sentence) : run(sentence, ShellCommands::endProcess(holder.process)))};
}

} // namespace Vqws
