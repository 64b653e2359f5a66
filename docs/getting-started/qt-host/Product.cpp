#include "Product.h"

#include <QCoreApplication>
#include <QFile>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTextStream>
#include <memory>
#include <string>
#include <thread>

using namespace Velquor::WebServices;

Product::Product(const QUrl& page)
    : m_page(page)
    , m_services(*WebServicesManager::GetInstance()) {
    m_services.AddObserver(this);
}

Product::~Product() {
    m_services.RemoveObserver(this);
}

// [start]
bool Product::start() {
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(L"demo-product-0001");
    configuration.SetConsumerSecret(L"demo-secret-0001");
    if (!m_services.SetConfiguration(configuration) || !m_services.RestoreLogin())
        return false;
    if (!m_services.IsLoggedIn())
        return signIn();
    fetch();
    return true;
}
// [/start]

// [sign-in]
bool Product::signIn() {
    const auto page = std::make_unique<wchar_t[]>(8192);
    if (!m_services.InitiateLogin(page.get(), 8192))
        return false;
    QTextStream(stdout) << "Sign in at\n\n" << QString::fromWCharArray(page.get()) << "\n\nand press Enter here.\n";
    // A product with a window has a button for this. The event loop keeps running.
    std::thread([this] {
        QFile input;
        if (input.open(0, QIODevice::ReadOnly | QIODevice::Unbuffered))
            input.read(1);
        QMetaObject::invokeMethod(this, &Product::completeSignIn, Qt::QueuedConnection);
    }).detach();
    return true;
}

void Product::completeSignIn() {
    if (!m_services.IsLoggedIn() && !m_services.CompleteLogin())
        QCoreApplication::exit(1);
}
// [/sign-in]

// [events]
void Product::LoggedIn() {
    fetch();
}

void Product::LoggedOut() {
    QTextStream(stdout) << "Signed out.\n";
    QCoreApplication::quit();
}
// [/events]

// [request]
void Product::fetch() {
    const std::wstring url = m_page.toString(QUrl::FullyEncoded).toStdWString();
    const std::unique_ptr<wchar_t[]> header(
        m_services.SignRequest(url.c_str(), nullptr, 0, HttpMethod::Get, ParsingMode::AuthorizationHeader, nullptr, nullptr));
    if (!header) {
        QCoreApplication::exit(1);
        return;
    }
    QNetworkRequest request(m_page);
    request.setRawHeader("Authorization", QString::fromWCharArray(header.get()).toLatin1());
    QNetworkReply* const reply = m_network.get(request);
    connect(reply, &QNetworkReply::finished, this, [this, reply] { show(reply); });
}
// [/request]

void Product::show(QNetworkReply* reply) {
    reply->deleteLater();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    QTextStream(stdout) << "Status " << status << "\n" << QString::fromUtf8(reply->readAll());
    QCoreApplication::exit(status == 200 ? 0 : 1);
}
