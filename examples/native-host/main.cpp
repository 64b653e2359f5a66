// A native Windows product with its own message loop and no framework. It signs in through the user's browser, and receives
// changes through the library's event hook.
//
// Usage: native-host CONSUMER-KEY CONSUMER-SECRET SUPPORT-FOLDER
// Commands on the standard input, one per line: status, sign-in, complete, sign-out, quit.

#include "CommandLines.h"

#include <VqWebServices/IWebServicesManager.h>
#include <VqWebServices/IWebServicesObserver.h>
#include <VqWebServices/WebServicesManager.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>

using namespace Velquor::WebServices;

namespace {

constexpr int urlSize = 8192;

void print(const std::wstring& text) {
    std::fwprintf(stdout, L"%ls\n", text.c_str());
    std::fflush(stdout);
}

// True while the main thread takes a message from its queue. The event hook runs during that time.
bool isTakingMessage = false;

bool takeMessage(MSG& message) {
    isTakingMessage = true;
    const bool taken = GetMessageW(&message, nullptr, 0, 0) > 0;
    isTakingMessage = false;
    return taken;
}

/// Called on the main thread: by the event hook, or inside a call of the library that detected a change.
class Observer : public IWebServicesObserver {
public:
    void LoggedIn() override { tell(L"LoggedIn"); }
    void LoginRestored() override { tell(L"LoginRestored"); }
    void LoggedOut() override { tell(L"LoggedOut"); }

private:
    const DWORD m_mainThread = GetCurrentThreadId();

    void tell(const wchar_t* event) const {
        const wchar_t* where = isTakingMessage ? L" through the event hook" : L" on the main thread";
        if (GetCurrentThreadId() != m_mainThread)
            where = L" on another thread";
        print(std::wstring(L"event ") + event + where);
    }
};

std::wstring wide(const char* text) {
    std::wstring result(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, result.data(), static_cast<int>(result.size()));
    result.resize(result.size() - 1);
    return result;
}

void printStatus() {
    IWebServicesManager* const manager = GetIWebServicesManager();
    wchar_t user[256] = {};
    const int length = manager ? manager->GetUserName(user, 256) : 0;
    print(length > 0 ? std::wstring(L"signed in as ") + user : L"nobody is signed in");
}

void signIn(WebServicesManager& manager) {
    const auto url = std::make_unique<wchar_t[]>(urlSize);
    print(manager.InitiateLogin(url.get(), urlSize) ? std::wstring(L"open ") + url.get() : L"the sign-in could not be started");
}

/// Waits for the server. So a product with a window runs it on another thread than its message loop.
void complete(WebServicesManager& manager) {
    std::thread([&manager] { print(manager.CompleteLogin() ? L"completed" : L"the sign-in was not completed"); }).detach();
}

/// False when the host must end.
bool execute(WebServicesManager& manager, const std::string& command) {
    if (command == "status")
        printStatus();
    else if (command == "sign-in")
        signIn(manager);
    else if (command == "complete")
        complete(manager);
    else if (command == "sign-out")
        print(manager.Logout() ? L"signed out" : L"the sign-out failed");
    else
        return false;
    return true;
}

void runMessageLoop(WebServicesManager& manager) {
    MSG message;
    while (takeMessage(message)) {
        if (!message.hwnd && message.message == CommandLines::message) {
            const std::unique_ptr<std::string> line(reinterpret_cast<std::string*>(message.lParam));
            if (!line || !execute(manager, *line))
                return;
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: native-host CONSUMER-KEY CONSUMER-SECRET SUPPORT-FOLDER\n", stderr);
        return 2;
    }
    WebServicesManager::SetSupportFileSearchPaths(wide(argv[3]).c_str());
    if (!WebServicesManager::Initialize() || !WebServicesManager::SetEventHook())
        return 1;
    WebServicesManager& manager = *WebServicesManager::GetInstance();
    Observer observer;
    manager.AddObserver(&observer);
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(wide(argv[1]).c_str());
    configuration.SetConsumerSecret(wide(argv[2]).c_str());
    manager.SetConfiguration(configuration);
    manager.RestoreLogin();
    {
        const CommandLines commands(GetCurrentThreadId());
        runMessageLoop(manager);
    }
    manager.RemoveObserver(&observer);
    WebServicesManager::RemoveEventHook();
    WebServicesManager::Uninitialize();
    return 0;
}
