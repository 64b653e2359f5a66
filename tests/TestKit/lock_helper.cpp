// Another process of the user, for the tests of what processes share. Commands:
//   hold KEY FOLDER              takes the lock, says "held", gives it back when its standard input ends
//   crash-in-section KEY FOLDER  takes the lock, says "held" and ends without giving it back
//   bump KEY FOLDER COUNT        adds 1 to the number in FOLDER/counter COUNT times, each under the lock, and says "+" after each
//   hold-plain KEY               as "hold", as a program that knows the semaphore only

#include "TestKit/HelperProgram.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Locks/CrossProcessLock.h"

#include <QCoreApplication>
#include <QSystemSemaphore>
#include <cstdlib>

using namespace Velquor;
using TestKit::say;

namespace {

constexpr int timeoutMs = 20000;

int sayHeldAndWait() {
    say("held");
    TestKit::waitForEndOfInput();
    return 0;
}

int hold(Util::CrossProcessLock& lock) {
    return lock.acquire(timeoutMs) ? sayHeldAndWait() : 1;
}

[[noreturn]] void crashInSection(Util::CrossProcessLock& lock) {
    if (lock.acquire(timeoutMs))
        say("held");
    std::_Exit(42);
}

int bump(Util::CrossProcessLock& lock, const QString& file, int count) {
    for (int round = 0; round < count; ++round) {
        if (!lock.acquire(timeoutMs))
            return 1;
        const Util::AtomicFile::ReadResult counter = Util::AtomicFile::read(file, 100);
        const bool written = counter.status != Util::AtomicFile::ReadResult::Status::Failed
                             && Util::AtomicFile::write(file, QByteArray::number(counter.data.toInt() + 1));
        lock.release();
        if (!written)
            return 2;
        say("+");
    }
    return 0;
}

int holdPlain(const QString& key) {
    QSystemSemaphore semaphore(key, 1);
    if (!semaphore.acquire())
        return 1;
    const int result = sayHeldAndWait();
    semaphore.release();
    return result;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    if (command == QLatin1String("hold-plain"))
        return holdPlain(arguments.value(2));
    Util::CrossProcessLock lock(arguments.value(2), arguments.value(3), Log::makeLogger("Helper"));
    if (command == QLatin1String("hold"))
        return hold(lock);
    if (command == QLatin1String("crash-in-section"))
        crashInSection(lock);
    if (command == QLatin1String("bump"))
        return bump(lock, arguments.value(3) + QStringLiteral("/counter"), arguments.value(4).toInt());
    return 64;
}
