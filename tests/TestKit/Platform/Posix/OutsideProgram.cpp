#include "TestKit/Platform/OutsideProgram.h"

#include <QProcess>

namespace Velquor::TestKit {

namespace {
constexpr int patienceMs = 15000;
} // namespace

struct OutsideProgram::Native {
    QProcess process;
    QByteArray output;
    bool wasStopped = false;
};

OutsideProgram::OutsideProgram()
    : m_native(new Native) {}

OutsideProgram::~OutsideProgram() {
    stop();
}

bool OutsideProgram::start(const QString& program, const QStringList& arguments) {
    m_native->process.setProcessChannelMode(QProcess::MergedChannels);
    m_native->process.start(program, arguments);
    return m_native->process.waitForStarted(patienceMs);
}

bool OutsideProgram::waitForFinished(int timeoutMs) {
    if (m_native->process.state() != QProcess::NotRunning && !m_native->process.waitForFinished(timeoutMs))
        return false;
    m_native->output += m_native->process.readAll();
    return true;
}

void OutsideProgram::stop() {
    if (m_native->process.state() == QProcess::NotRunning)
        return;
    m_native->wasStopped = true;
    m_native->process.closeWriteChannel();
    m_native->process.terminate();
    if (!m_native->process.waitForFinished(patienceMs)) {
        m_native->process.kill();
        m_native->process.waitForFinished(patienceMs);
    }
}

int OutsideProgram::exitCode() const {
    const bool ended =
        m_native->process.state() == QProcess::NotRunning && m_native->process.exitStatus() == QProcess::NormalExit;
    return ended && !m_native->wasStopped ? m_native->process.exitCode() : -1;
}

QByteArray OutsideProgram::output() const {
    return m_native->output;
}

QString OutsideProgram::pathFor(const QString& path) {
    return path;
}

} // namespace Velquor::TestKit
