#include "VqUtil/Platform/KnownFolders.h"

#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QDir>
#include <memory>
#include <objbase.h>
#include <shlobj.h>

namespace Velquor::Util {

namespace {

struct TaskMemoryDeleter {
    void operator()(wchar_t* memory) const { ::CoTaskMemFree(memory); }
};

QString knownFolder(const KNOWNFOLDERID& id) {
    wchar_t* path = nullptr;
    const HRESULT result = ::SHGetKnownFolderPath(id, KF_FLAG_DEFAULT, nullptr, &path);
    const std::unique_ptr<wchar_t, TaskMemoryDeleter> owned(path);
    return SUCCEEDED(result) ? QDir::fromNativeSeparators(QString::fromWCharArray(path)) : QString();
}

} // namespace

QString localAppDataFolder() {
    return knownFolder(FOLDERID_LocalAppData);
}

QString programDataFolder() {
    return knownFolder(FOLDERID_ProgramData);
}

QString settingsFolder() {
    return {};
}

} // namespace Velquor::Util
