// Signs a user in and prints the "Authorization" header of one signed request.
// Usage: first-request FOLDER URL

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>
#include <VqWebServices/WebServicesManager.h>
#include <iostream>
#include <memory>
#include <string>

using namespace Velquor::WebServices;

// The account service for development has its own certificate authority. TLS errors are never ignored.
bool trust(const QString& authority) {
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(authority);
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(configuration.caCertificates() + certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return !certificates.isEmpty();
}

// [reason]
const wchar_t* reason(LoginErrorEx error) {
    switch (error) {
    case LoginErrorEx::NoReply: return L"the account server does not answer";
    case LoginErrorEx::NoSecureConnection: return L"the connection to the account server cannot be trusted";
    case LoginErrorEx::WrongSystemTime: return L"the clock of this machine is wrong";
    case LoginErrorEx::Refused: return L"the account server refuses this product's key or secret";
    case LoginErrorEx::SigningFailed: return L"the folder lacks the file with the addresses, or \"WebServices.logconfig\"";
    default: return L"the account server answers something else, or this program calls in a wrong order";
    }
}
// [/reason]

// [sign-in]
bool signIn(WebServicesManager& manager) {
    const auto page = std::make_unique<wchar_t[]>(8192);
    LoginErrorEx error{};
    int httpStatus = 0;
    if (!manager.InitiateLogin(nullptr, page.get(), 8192, error, httpStatus)) {
        std::wcerr << L"The sign-in cannot begin: " << reason(error) << L" (HTTP status " << httpStatus << L")." << std::endl;
        return false;
    }
    std::wcerr << L"Sign in at\n\n" << page.get() << L"\n\nand press Enter here." << std::endl;
    std::wcin.get();
    if (!manager.CompleteLogin()) {
        std::wcerr << L"The sign-in was not completed. Was it approved on the page?" << std::endl;
        return false;
    }
    return true;
}
// [/sign-in]

// [request]
bool printHeader(WebServicesManager& manager, const std::wstring& url) {
    const std::unique_ptr<wchar_t[]> header(
        manager.SignRequest(url.c_str(), nullptr, 0, HttpMethod::Get, ParsingMode::AuthorizationHeader, nullptr, nullptr));
    if (header)
        std::wcout << L"Authorization: " << header.get() << std::endl;
    return header != nullptr;
}
// [/request]

// [run]
bool run(const std::wstring& url) {
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(L"demo-product-0001");
    configuration.SetConsumerSecret(L"demo-secret-0001");
    WebServicesManager& manager = *WebServicesManager::GetInstance();
    if (!manager.SetConfiguration(configuration) || !manager.RestoreLogin())
        return false;
    return (manager.IsLoggedIn() || signIn(manager)) && printHeader(manager, url);
}
// [/run]

int main(int argc, char** argv) {
    if (argc != 3) {
        std::wcerr << L"usage: first-request FOLDER URL" << std::endl;
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    if (!trust(folder + QStringLiteral("/ca.pem")))
        return 1;
    WebServicesManager::SetSupportFileSearchPaths(folder.toStdWString().c_str());
    WebServicesManager::Initialize();
    const bool isDone = run(QString::fromLocal8Bit(argv[2]).toStdWString());
    WebServicesManager::Uninitialize();
    if (!isDone)
        std::wcerr << L"It failed. \"vqws doctor\" and \"WebServices.log\" say more." << std::endl;
    return isDone ? 0 : 1;
}
