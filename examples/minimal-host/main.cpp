#include <VqWebServices/WebServicesManager.h>
#include <iostream>
#include <memory>

using namespace Velquor::WebServices;

int main() {
    WebServicesManager::Initialize();
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(L"demo-product-0001");
    configuration.SetConsumerSecret(L"demo-secret-0001");
    WebServicesManager* const manager = WebServicesManager::GetInstance();
    bool signedIn = manager->SetConfiguration(configuration) && manager->RestoreLogin() && manager->IsLoggedIn();
    wchar_t url[8192];
    if (!signedIn && manager->InitiateLogin(url, 8192)) {
        std::wcout << L"Sign in at " << url << L" and press Enter." << std::endl;
        std::wcin.get();
        signedIn = manager->CompleteLogin();
    }
    const std::unique_ptr<wchar_t[]> header(manager->SignRequest(L"https://127.0.0.1/api/echo", nullptr, 0, HttpMethod::Get,
                                                                 ParsingMode::AuthorizationHeader, nullptr, nullptr));
    if (header)
        std::wcout << L"Authorization: " << header.get() << std::endl;
    WebServicesManager::Uninitialize();
    return signedIn ? 0 : 1;
}
