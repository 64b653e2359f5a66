// Another process of the user that saves the login state. Arguments: command, folder of the file, folder of the user's key,
// consumer key, count. It says "ready" when it has read the file. Commands:
//   loop      saves COUNT times (0: until it is killed) with the next number each time, and says "NUMBER MILLISECONDS" after each
//   in-place  the same by overwriting the file in place, as no program should
//   obey      for each line of its input: saves with the fault of the line (see fault_shim), and says "saved" or "failed"
//   read      reads the file with the fault of the environment, says "yes" when it has a token, and the same again without the
//   fault hold      takes the lock of the file, says "ready", and keeps it until its standard input ends

#include "TestKit/HelperProgram.h"
#include "TestKit/SaveHelper.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Stopwatch.h"

#include <QCoreApplication>
#include <iostream>
#include <string>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::SaveHelper;
using TestKit::say;

namespace {

class Helper {
public:
    explicit Helper(const QStringList& arguments)
        : m_fixture(arguments.value(2), arguments.value(3))
        , m_process(m_fixture, arguments.value(4)) {
        m_process.restore();
        const ProductSessionPointer product = m_process.core.products().find(arguments.value(4), Production);
        m_number = product ? SaveHelper::numberOf(product->tokens().expiryDate) : 0;
    }

    [[nodiscard]] bool save() {
        const QDateTime date = SaveHelper::dateOf(++m_number);
        if (m_process.core.basic().hasUser())
            m_process.takeTokens(date);
        else
            m_process.signIn("ada", date);
        return m_process.save() == LoginStateStore::Result::Saved;
    }

    // A whole save, and then the same contents written in place, byte by byte.
    [[nodiscard]] bool saveInPlace() {
        if (!save())
            return false;
        const QByteArray contents = m_fixture.fileContents();
        QFile file(m_fixture.file());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            return false;
        for (const char byte : contents)
            file.write(&byte, 1);
        return true;
    }

    int loop(bool inPlace, int count) {
        for (int done = 0; done < count || count == 0; ++done) {
            const TestKit::Stopwatch timer;
            if (inPlace ? !saveInPlace() : !save()) {
                say("failed");
                return 1;
            }
            say(QByteArray::number(m_number) + ' ' + QByteArray::number(timer.elapsed()));
        }
        return 0;
    }

    int obey() {
        for (std::string line; std::getline(std::cin, line);) {
            qputenv("VQ_FAULT", QByteArray::fromStdString(line).trimmed());
            const bool saved = save();
            qunsetenv("VQ_FAULT");
            say(saved ? "saved" : "failed");
        }
        return 0;
    }

    int read() {
        say(m_process.token().isEmpty() ? "no" : "yes");
        qunsetenv("VQ_FAULT");
        m_process.lookAtFile();
        say(m_process.token().isEmpty() ? "no" : "yes");
        return 0;
    }

    int hold() {
        LockedState state(m_process.core);
        const LoginStateFile::Guard guard(state.file());
        if (!guard.isHeld())
            return 1;
        say("ready");
        TestKit::waitForEndOfInput();
        return 0;
    }

private:
    TestKit::SessionFixture m_fixture;
    TestKit::StateProcess m_process;
    int m_number = 0;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    Helper helper(arguments);
    if (command == QLatin1String("hold"))
        return helper.hold();
    if (command == QLatin1String("read"))
        return helper.read();
    say("ready");
    if (command == QLatin1String("obey"))
        return helper.obey();
    return helper.loop(command == QLatin1String("in-place"), arguments.value(5).toInt());
}
