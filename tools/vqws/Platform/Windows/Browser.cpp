#include "Platform/Browser.h"

#include <windows.h>

#include <shellapi.h>

namespace Vqws {

bool openInBrowser(const QString& url) {
    // The system documents greater values as success.
    constexpr INT_PTR greatestError = 32;
    const HINSTANCE result = ::ShellExecuteW(nullptr, L"open", url.toStdWString().c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(result) > greatestError;
}

} // namespace Vqws
