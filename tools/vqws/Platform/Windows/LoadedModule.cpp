#include "Platform/LoadedModule.h"

#include <QDir>
#include <vector>
#include <windows.h>

namespace Vqws {

QString modulePathOf(const void* address) {
    constexpr DWORD longestPath = 32767;
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!::GetModuleHandleExW(flags, static_cast<const wchar_t*>(address), &module))
        return {};
    std::vector<wchar_t> buffer(longestPath);
    const DWORD length = ::GetModuleFileNameW(module, buffer.data(), longestPath);
    return QDir::fromNativeSeparators(QString::fromWCharArray(buffer.data(), static_cast<int>(length)));
}

} // namespace Vqws
