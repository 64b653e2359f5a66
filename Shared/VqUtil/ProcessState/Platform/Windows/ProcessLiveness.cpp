#include "VqUtil/ProcessState/ProcessLiveness.h"

#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QDir>
#include <limits>
#include <psapi.h>

namespace Velquor::Util {

namespace {

constexpr DWORD requiredRights = SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;

// The system truncates a longer path. It does so for every process, so the truncated paths still compare equal.
QString mainModulePath(HANDLE process) {
    wchar_t buffer[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameExW(process, nullptr, buffer, MAX_PATH);
    return QDir::cleanPath(QDir::fromNativeSeparators(QString::fromWCharArray(buffer, static_cast<int>(length))));
}

bool isSamePath(const QString& one, const QString& other) {
    return QDir::cleanPath(QDir::fromNativeSeparators(one)).compare(QDir::cleanPath(other), Qt::CaseInsensitive) == 0;
}

} // namespace

bool isProcessAlive(qint64 processId, const QString& executablePath) {
    if (processId <= 0 || processId > std::numeric_limits<DWORD>::max())
        return false;
    const WindowsHandle process(::OpenProcess(requiredRights, FALSE, static_cast<DWORD>(processId)));
    if (!process.isValid() || ::WaitForSingleObject(process.get(), 0) != WAIT_TIMEOUT)
        return false;
    return executablePath.isEmpty() || isSamePath(executablePath, mainModulePath(process.get()));
}

QString ownExecutablePath() {
    return mainModulePath(::GetCurrentProcess());
}

} // namespace Velquor::Util
