// A native Windows program with the Win32 API, a message loop and the library. It signs a user in and prints the "Authorization"
// header of one signed request.
// Usage: native-host FOLDER URL

#include <VqWebServices/IWebServicesObserver.h>
#include <VqWebServices/WebServicesManager.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <windows.h>

#include <shellapi.h>

using namespace Velquor::WebServices;

constexpr UINT enterPressed = WM_APP + 1;

void print(const wchar_t* text) {
    std::fwprintf(stdout, L"%ls\n", text);
    std::fflush(stdout);
}

// [observer]
/// Called on the main thread, through the message loop or inside a call of the library.
class Observer : public IWebServicesObserver {
public:
    Observer(WebServicesManager& services, const wchar_t* url)
        : m_services(services)
        , m_url(url) {
        m_services.AddObserver(this);
    }
    ~Observer() override { m_services.RemoveObserver(this); }

    void LoggedIn() override { printHeader(); }

    void printHeader() {
        const std::unique_ptr<wchar_t[]> header(
            m_services.SignRequest(m_url, nullptr, 0, HttpMethod::Get, ParsingMode::AuthorizationHeader, nullptr, nullptr));
        if (header)
            print((std::wstring(L"Authorization: ") + header.get()).c_str());
        PostQuitMessage(header ? 0 : 1);
    }

private:
    WebServicesManager& m_services;
    const wchar_t* const m_url;
};
// [/observer]

// [sign-in]
bool signIn(WebServicesManager& services) {
    const auto page = std::make_unique<wchar_t[]>(8192);
    if (!services.InitiateLogin(page.get(), 8192))
        return false;
    print(L"Sign in at\n");
    print(page.get());
    print(L"\nand press Enter here.");
    // A program with a window has a button for this. The message loop keeps running.
    std::thread([mainThread = GetCurrentThreadId()] {
        char key = 0;
        DWORD count = 0;
        ReadFile(GetStdHandle(STD_INPUT_HANDLE), &key, 1, &count, nullptr);
        PostThreadMessageW(mainThread, enterPressed, 0, 0);
    }).detach();
    return true;
}
// [/sign-in]

// [start]
bool start(WebServicesManager& services, Observer& observer) {
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(L"demo-product-0001");
    configuration.SetConsumerSecret(L"demo-secret-0001");
    if (!services.SetConfiguration(configuration) || !services.RestoreLogin())
        return false;
    if (!services.IsLoggedIn())
        return signIn(services);
    observer.printHeader();
    return true;
}
// [/start]

// [loop]
int runMessageLoop(WebServicesManager& services) {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (!message.hwnd && message.message == enterPressed) {
            if (!services.IsLoggedIn() && !services.CompleteLogin())
                PostQuitMessage(1);
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}
// [/loop]

// [main]
int main() {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 3) {
        print(L"usage: native-host FOLDER URL");
        return 2;
    }
    WebServicesManager::SetSupportFileSearchPaths(arguments[1]);
    if (!WebServicesManager::Initialize() || !WebServicesManager::SetEventHook())
        return 1;
    int status = 1;
    {
        WebServicesManager& services = *WebServicesManager::GetInstance();
        Observer observer(services, arguments[2]);
        if (start(services, observer))
            status = runMessageLoop(services);
    }
    WebServicesManager::RemoveEventHook();
    WebServicesManager::Uninitialize();
    if (status != 0)
        print(L"It failed; \"WebServices.log\" says why.");
    LocalFree(arguments);
    return status;
}
// [/main]
