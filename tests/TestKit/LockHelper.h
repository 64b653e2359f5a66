#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QStringList>

namespace Velquor::TestKit {

/// A run of the program "lock_helper", which lies beside the test. Ends with this object at the latest.
/// Thread: the test's. Owner: the test.
class LockHelper : public QProcess {
public:
    explicit LockHelper(const QStringList& arguments) {
        start(QCoreApplication::applicationDirPath() + QStringLiteral("/lock_helper"), arguments);
    }

    ~LockHelper() override {
        kill();
        waitForFinished(10000);
    }

    /// True once the helper says that it holds the lock.
    [[nodiscard]] bool isHolding() {
        while (!canReadLine()) {
            if (!waitForReadyRead(10000))
                return false;
        }
        return readLine().startsWith("held");
    }

    /// Lets it give the lock back and end.
    [[nodiscard]] bool finish() {
        closeWriteChannel();
        return waitForFinished(20000) && exitStatus() == NormalExit && exitCode() == 0;
    }
};

} // namespace Velquor::TestKit
