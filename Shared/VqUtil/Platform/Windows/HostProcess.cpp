#include "VqUtil/Platform/HostProcess.h"

#include "VqUtil/Platform/Windows/NativePath.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QDir>
#include <QSysInfo>
#include <vector>

namespace Velquor::Util {

namespace {

// The system's limit for paths and variables, with the terminator.
constexpr DWORD longestText = 32767;

QString modulePath(HMODULE module) {
    std::vector<wchar_t> buffer(longestText);
    const DWORD length = ::GetModuleFileNameW(module, buffer.data(), longestText);
    return QDir::fromNativeSeparators(QString::fromWCharArray(buffer.data(), static_cast<int>(length)));
}

QString versionText(const VS_FIXEDFILEINFO& info) {
    return QStringLiteral("%1.%2.%3.%4")
        .arg(HIWORD(info.dwFileVersionMS))
        .arg(LOWORD(info.dwFileVersionMS))
        .arg(HIWORD(info.dwFileVersionLS))
        .arg(LOWORD(info.dwFileVersionLS));
}

} // namespace

QString hostExecutablePath() {
    return modulePath(nullptr);
}

QString modulePathOf(const void* address) {
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return ::GetModuleHandleExW(flags, static_cast<const wchar_t*>(address), &module) ? modulePath(module) : QString();
}

QString ownModulePath() {
    return modulePathOf(reinterpret_cast<const void*>(&ownModulePath));
}

QString fileVersion(const QString& path) {
    const std::wstring name = nativePath(path);
    DWORD ignored = 0;
    const DWORD size = path.isEmpty() ? 0 : ::GetFileVersionInfoSizeW(name.c_str(), &ignored);
    std::vector<char> data(size);
    void* info = nullptr;
    UINT length = 0;
    const bool found = size > 0 && ::GetFileVersionInfoW(name.c_str(), 0, size, data.data())
                       && ::VerQueryValueW(data.data(), L"\\", &info, &length) && length >= sizeof(VS_FIXEDFILEINFO);
    return found ? versionText(*static_cast<const VS_FIXEDFILEINFO*>(info)) : QString();
}

QString loadedModulePath(const QString& fileName) {
    const HMODULE module = ::GetModuleHandleW(fileName.toStdWString().c_str());
    return module && !fileName.isEmpty() ? modulePath(module) : QString();
}

QString searchPath() {
    std::vector<wchar_t> buffer(longestText);
    const DWORD length = ::GetEnvironmentVariableW(L"PATH", buffer.data(), longestText);
    return length < longestText ? QString::fromWCharArray(buffer.data(), static_cast<int>(length)) : QString();
}

bool isFirstInSearchPath(const QString& folder, const QString& path) {
    const QString first = QDir::toNativeSeparators(folder);
    return path.compare(first, Qt::CaseInsensitive) == 0 || path.startsWith(first + QLatin1Char(';'), Qt::CaseInsensitive);
}

bool prependToSearchPath(const QString& folder, const QString& path) {
    // By the C library: it keeps its own copy of the environment, which `SetEnvironmentVariable` would leave unchanged.
    return ::_wputenv_s(L"PATH", (QDir::toNativeSeparators(folder) + QLatin1Char(';') + path).toStdWString().c_str()) == 0;
}

QString systemVersion() {
    // `GetVersionEx` reports an older version unless the host's manifest names this one. `RtlGetVersion` reports the real one.
    using RtlGetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
    const HMODULE module = ::GetModuleHandleW(L"ntdll.dll");
    const auto getVersion =
        module ? reinterpret_cast<RtlGetVersion>(reinterpret_cast<void*>(::GetProcAddress(module, "RtlGetVersion"))) : nullptr;
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (!getVersion || getVersion(&info) != 0)
        return QStringLiteral("0.0.0");
    return QStringLiteral("%1.%2.%3").arg(info.dwMajorVersion).arg(info.dwMinorVersion).arg(info.dwBuildNumber);
}

QString systemName() {
    return QStringLiteral("%1, version %2").arg(QSysInfo::prettyProductName(), systemVersion());
}

} // namespace Velquor::Util
