#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QStringList>

namespace Velquor::TestKit {

/// A run of the program "state_helper", which lies beside the test: another process with a process state of its own, told what to
/// do line by line. Ends with this object at the latest. Thread: the test's. Owner: the test.
class StateHelper : public QProcess {
public:
    explicit StateHelper(const QStringList& arguments) {
        start(QCoreApplication::applicationDirPath() + QStringLiteral("/state_helper"), arguments);
    }

    ~StateHelper() override {
        kill();
        waitForFinished(10000);
    }

    /// The next line that it says; empty when none comes.
    [[nodiscard]] QByteArray nextLine() {
        while (!canReadLine()) {
            if (!waitForReadyRead(20000))
                return {};
        }
        return readLine().trimmed();
    }

    /// Sends a line; what it answers comes with `nextLine()`.
    void tell(const QByteArray& line) {
        write(line + '\n');
        waitForBytesWritten(10000);
    }

    /// Ends it in the middle of whatever it does.
    void killNow() {
        kill();
        waitForFinished(10000);
    }

    [[nodiscard]] bool finish() {
        closeWriteChannel();
        return waitForFinished(60000) && exitStatus() == NormalExit && exitCode() == 0;
    }
};

} // namespace Velquor::TestKit
