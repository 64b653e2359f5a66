#include "Platform/Browser.h"

#include <windows.h>

#include <shellapi.h>

namespace Vqws {

bool openInBrowser(const QString& url) {
    // Greater values are success, says the system's reference.
    constexpr INT_PTR greatestError = 32;
    const HINSTANCE result = ::ShellExecuteW(nullptr, L"open", url.toStdWString().c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(result) > greatestError;
}

} // namespace Vqws
