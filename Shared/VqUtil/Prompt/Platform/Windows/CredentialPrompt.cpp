#include "VqUtil/Prompt/CredentialPrompt.h"

#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <mutex>
#include <string>
#include <vector>
#include <wincred.h>

namespace Velquor::Util {

namespace {

constexpr std::size_t textSize = 260;
constexpr std::size_t userBufferSize = 514;
constexpr std::size_t passwordBufferSize = 257;
constexpr DWORD promptFlags = CREDUI_FLAGS_GENERIC_CREDENTIALS | CREDUI_FLAGS_ALWAYS_SHOW_UI | CREDUI_FLAGS_DO_NOT_PERSIST;
static_assert(promptFlags == 0x40082, "the flags of the prompt");

template <std::size_t Size>
void copyCut(const wchar_t* text, std::size_t length, std::array<wchar_t, Size>& buffer) {
    const std::size_t copied = std::min(length, Size - 1);
    std::wmemcpy(buffer.data(), text, copied);
    buffer[copied] = 0;
}

template <std::size_t Size>
void copyCut(const QString& text, std::array<wchar_t, Size>& buffer) {
    const std::wstring wide = text.toStdWString();
    copyCut(wide.c_str(), wide.size(), buffer);
}

void giveBack(const wchar_t* text, wchar_t* buffer, int size) {
    const std::size_t copied = std::min<std::size_t>(std::wcslen(text), static_cast<std::size_t>(size - 1));
    std::wmemcpy(buffer, text, copied);
    buffer[copied] = 0;
}

// For a name without a domain, the dialog may add the target as a prefix, which the user has not entered.
const wchar_t* withoutTarget(const wchar_t* user, const wchar_t* target) {
    const std::size_t length = std::wcslen(target);
    const bool hasTarget = length > 0 && std::wcsncmp(user, target, length) == 0 && user[length] == L'\\';
    return hasTarget ? user + length + 1 : user;
}

bool isDialog(HWND window) {
    std::array<wchar_t, 8> name{};
    return ::GetClassNameW(window, name.data(), static_cast<int>(name.size())) > 0 && std::wcscmp(name.data(), L"#32770") == 0;
}

BOOL CALLBACK remember(HWND window, LPARAM dialogs) {
    try {
        if (isDialog(window))
            reinterpret_cast<std::vector<HWND>*>(dialogs)->push_back(window);
    } catch (...) {
        return FALSE; // An exception must not pass through the system's code.
    }
    return TRUE;
}

BOOL CALLBACK closeOther(HWND window, LPARAM dialogs) {
    const auto& known = *reinterpret_cast<const std::vector<HWND>*>(dialogs);
    if (isDialog(window) && std::find(known.begin(), known.end(), window) == known.end())
        ::PostMessageW(window, WM_CLOSE, 0, 0);
    return TRUE;
}

} // namespace

/// Finds the prompt's window for `cancel`, since the system does not report it. It is a dialog of the thread that asks, and was
/// not there before. The host's own dialogs must not be closed.
struct CredentialPrompt::Native {
    std::mutex mutex;
    DWORD thread = 0; // The one that shows the dialog.
    std::vector<HWND> dialogsOfHost;

    void begin() {
        const std::lock_guard<std::mutex> lock(mutex);
        thread = ::GetCurrentThreadId();
        ::EnumThreadWindows(thread, &remember, reinterpret_cast<LPARAM>(&dialogsOfHost));
    }
    void end() {
        const std::lock_guard<std::mutex> lock(mutex);
        thread = 0;
        dialogsOfHost.clear();
    }
};

CredentialPrompt::CredentialPrompt()
    : m_native(new Native) {}

CredentialPrompt::~CredentialPrompt() = default;

int CredentialPrompt::ask(const CredentialPromptTexts& texts, wchar_t* user, int userSize, wchar_t* password, int passwordSize) {
    std::array<wchar_t, textSize> caption{};
    std::array<wchar_t, textSize> message{};
    std::array<wchar_t, textSize> target{};
    std::array<wchar_t, userBufferSize> userBuffer{};
    std::array<wchar_t, passwordBufferSize> passwordBuffer{};
    copyCut(texts.caption, caption);
    copyCut(texts.message, message);
    copyCut(texts.target, target);
    copyCut(user, std::wcslen(user), userBuffer);
    CREDUI_INFOW info{};
    info.cbSize = sizeof info;
    info.pszCaptionText = caption.data();
    info.pszMessageText = message.data();
    BOOL saves = FALSE;
    m_native->begin();
    const DWORD code =
        ::CredUIPromptForCredentialsW(&info, target.data(), nullptr, 0, userBuffer.data(), static_cast<ULONG>(userBuffer.size()),
                                      passwordBuffer.data(), static_cast<ULONG>(passwordBuffer.size()), &saves, promptFlags);
    m_native->end();
    if (code == NO_ERROR) {
        giveBack(withoutTarget(userBuffer.data(), target.data()), user, userSize);
        giveBack(passwordBuffer.data(), password, passwordSize);
    }
    ::SecureZeroMemory(passwordBuffer.data(), sizeof passwordBuffer);
    ::SecureZeroMemory(userBuffer.data(), sizeof userBuffer);
    return static_cast<int>(code);
}

void CredentialPrompt::cancel() {
    const std::lock_guard<std::mutex> lock(m_native->mutex);
    if (m_native->thread != 0)
        ::EnumThreadWindows(m_native->thread, &closeOther, reinterpret_cast<LPARAM>(&m_native->dialogsOfHost));
}

QString CredentialPrompt::errorText(int code) {
    return systemErrorText(static_cast<unsigned long>(code));
}

} // namespace Velquor::Util
