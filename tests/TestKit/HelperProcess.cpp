#include "TestKit/HelperProcess.h"

#include <QCoreApplication>

namespace Velquor::TestKit {

namespace {

constexpr int patienceMs = 20000;

} // namespace

HelperProcess::HelperProcess(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment,
                             ProcessChannelMode channels) {
    setProcessChannelMode(channels);
    setProcessEnvironment(environment);
    start(nextFolder() + '/' + program, arguments);
}

QString HelperProcess::nextFolder() {
    static int runs = 0;
    const QString other = ++runs % 2 == 1 ? qEnvironmentVariable("VQ_OTHER_HELPERS") : QString();
    return other.isEmpty() ? QCoreApplication::applicationDirPath() : other;
}

void HelperProcess::tell(const QByteArray& line) {
    write(line + '\n');
    waitForBytesWritten(patienceMs);
}

QByteArray HelperProcess::nextLine() {
    while (!canReadLine()) {
        if (!waitForReadyRead(patienceMs))
            return {};
    }
    return readLine().trimmed();
}

bool HelperProcess::finish() {
    closeWriteChannel();
    return waitForFinished(3 * patienceMs) && exitStatus() == NormalExit && exitCode() == 0;
}

void HelperProcess::killNow() {
    kill();
    waitForFinished(patienceMs);
}

} // namespace Velquor::TestKit
