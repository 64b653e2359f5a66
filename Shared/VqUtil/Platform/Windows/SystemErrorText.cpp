#include "VqUtil/Platform/Windows/SystemErrorText.h"

#include "VqUtil/Platform/Windows/LocalMemory.h"

namespace Velquor::Util {

namespace {

QString messageText(DWORD source, HMODULE module, DWORD code) {
    wchar_t* text = nullptr;
    const DWORD length = ::FormatMessageW(source | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS, module, code,
                                          0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const LocalMemory<wchar_t> owned(text);
    return length > 0 ? QString::fromWCharArray(text, static_cast<int>(length)).trimmed() : QStringLiteral("Error %1").arg(code);
}

} // namespace

QString systemErrorText(unsigned long code) {
    return messageText(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code);
}

QString moduleErrorText(unsigned long code, const wchar_t* moduleFileName) {
    const HMODULE module = ::GetModuleHandleW(moduleFileName);
    if (!module)
        return QStringLiteral("The specified module could not be found.");
    return messageText(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM, module, code);
}

} // namespace Velquor::Util
