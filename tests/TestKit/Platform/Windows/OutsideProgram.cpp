#include "TestKit/Platform/OutsideProgram.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

namespace Velquor::TestKit {

namespace {

constexpr int patienceMs = 15000;

using UnixFileName = char* (*)(const wchar_t*);

// Null on a real Windows.
UnixFileName unixFileName() {
    static const auto function = reinterpret_cast<UnixFileName>(QLibrary::resolve("kernel32", "wine_get_unix_file_name"));
    return function;
}

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Wine shares neither pipes nor the end of a process with a program below it, so files replace both. The program ends when the
// file "stop" appears, and when the test's own runner has ended.
constexpr char script[] = R"(cd "$1" || exit 1
shift
"$@" </dev/null >output 2>&1 &
child=$!
while kill -0 $child 2>/dev/null && kill -0 "${VQ_RUN_PID:-$child}" 2>/dev/null && [ ! -e stop ]; do sleep 0.05; done
kill $child 2>/dev/null
wait $child
echo $? >status.new
mv status.new status
)";

} // namespace

struct OutsideProgram::Native {
    QTemporaryDir folder;
    QProcess process; // On a real Windows.
    bool isRunning = false;
    bool wasStopped = false;

    [[nodiscard]] QString path(const char* name) const { return folder.filePath(QLatin1String(name)); }

    bool startBelowWine(const QString& program, const QStringList& arguments) {
        QFile file(path("run.sh"));
        if (!file.open(QIODevice::WriteOnly) || file.write(script) < 0)
            return false;
        file.close();
        const QStringList all = QStringList{pathFor(path("run.sh")), pathFor(folder.path()), program} + arguments;
        return QProcess::startDetached("/bin/sh", all);
    }

    bool waitBelowWine(int timeoutMs) {
        const QDeadlineTimer deadline(timeoutMs);
        while (!QFile::exists(path("status"))) {
            if (deadline.hasExpired())
                return false;
            QThread::msleep(10);
        }
        return true;
    }
};

OutsideProgram::OutsideProgram()
    : m_native(new Native) {}

OutsideProgram::~OutsideProgram() {
    stop();
}

bool OutsideProgram::start(const QString& program, const QStringList& arguments) {
    if (unixFileName()) {
        m_native->isRunning = m_native->startBelowWine(program, arguments);
    } else {
        m_native->process.setProcessChannelMode(QProcess::MergedChannels);
        m_native->process.setStandardOutputFile(m_native->path("output"));
        m_native->process.start(program, arguments);
        m_native->isRunning = m_native->process.waitForStarted(patienceMs);
    }
    return m_native->isRunning;
}

bool OutsideProgram::waitForFinished(int timeoutMs) {
    if (m_native->isRunning) {
        const bool ended = unixFileName() ? m_native->waitBelowWine(timeoutMs) : m_native->process.waitForFinished(timeoutMs);
        m_native->isRunning = !ended;
    }
    return !m_native->isRunning;
}

void OutsideProgram::stop() {
    if (!m_native->isRunning)
        return;
    m_native->wasStopped = true;
    if (unixFileName())
        (void)QFile(m_native->path("stop")).open(QIODevice::WriteOnly);
    else
        m_native->process.kill();
    (void)waitForFinished(patienceMs);
}

int OutsideProgram::exitCode() const {
    if (m_native->isRunning || m_native->wasStopped)
        return -1;
    return unixFileName() ? contents(m_native->path("status")).trimmed().toInt() : m_native->process.exitCode();
}

QByteArray OutsideProgram::output() const {
    return contents(m_native->path("output"));
}

QString OutsideProgram::pathFor(const QString& path) {
    const std::wstring native = QDir::toNativeSeparators(QDir(path).absolutePath()).toStdWString();
    const UnixFileName translate = unixFileName();
    // Not freed: it is a few bytes, and only the system's heap could take them.
    const char* const translated = translate ? translate(native.c_str()) : nullptr;
    return translated ? QString::fromUtf8(translated) : path;
}

} // namespace Velquor::TestKit
