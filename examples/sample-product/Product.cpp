#include "Product.h"

#include <QFile>
#include <QJsonDocument>
#include <VqWebServices/WebServicesPrivate.h>
#include <array>
#include <cstdio>
#include <memory>

using namespace Velquor::WebServices;

namespace {

constexpr int urlSize = 8192;

using Buffer = std::array<wchar_t, urlSize>;

template <class Read>
QString text(const Read& read) {
    Buffer buffer{};
    read(buffer.data(), urlSize);
    return QString::fromWCharArray(buffer.data());
}

} // namespace

Product::Product(const Options& options)
    : m_options(options) {}

Product::~Product() {
    if (m_manager)
        m_manager->RemoveObserver(this);
    WebServicesManager::Uninitialize();
}

bool Product::start() {
    WebServicesManager::SetSupportFileSearchPaths(m_options.supportFolder.toStdWString().c_str());
    if (!WebServicesManager::Initialize())
        return false;
    m_manager = WebServicesManager::GetInstance();
    m_manager->AddObserver(this);
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(m_options.consumerKey.toStdWString().c_str());
    configuration.SetConsumerSecret(m_options.consumerSecret.toStdWString().c_str());
    configuration.SetSerialNumber(L"SN-0001");
    return m_manager->SetConfiguration(configuration) && m_manager->RestoreLogin();
}

void Product::enqueue(const QString& line) {
    // The library handles events while it waits for the network, so the next command can arrive during the current one.
    m_lines.append(line);
    if (m_lines.size() > 1)
        return;
    for (; !m_lines.isEmpty(); m_lines.removeFirst())
        execute(m_lines.first());
}

void Product::execute(const QString& line) {
    const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return;
    if (words.first() == QStringLiteral("quit")) {
        emit finished();
        return;
    }
    QJsonObject answer = run(words.first(), words.mid(1));
    answer.insert(QStringLiteral("command"), words.first());
    print(answer);
}

QJsonObject Product::run(const QString& command, const Arguments& arguments) {
    if (command == QStringLiteral("status"))
        return status();
    if (command == QStringLiteral("initiate-login"))
        return initiateLogin();
    if (command == QStringLiteral("complete-login"))
        return completeLogin(arguments);
    if (command == QStringLiteral("get") && arguments.size() == 1)
        return get(arguments);
    if (command == QStringLiteral("post") && arguments.size() >= 2)
        return post(arguments);
    if (command == QStringLiteral("sign-url") && arguments.size() == 1)
        return signUrl(arguments);
    if (command == QStringLiteral("initiate-logout"))
        return initiateLogout();
    if (command == QStringLiteral("complete-logout"))
        return {{QStringLiteral("ok"), m_manager->CompleteLogout()}};
    if (command == QStringLiteral("logout"))
        return {{QStringLiteral("ok"), m_manager->Logout()}};
    if (command == QStringLiteral("veto")) {
        m_vetoes = arguments.value(0) != QStringLiteral("off");
        return {{QStringLiteral("ok"), true}};
    }
    return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), QStringLiteral("unknown command")}};
}

QJsonObject Product::status() {
    return {{QStringLiteral("ok"), true},
            {QStringLiteral("signedIn"), m_manager->IsLoggedIn()},
            {QStringLiteral("valid"), m_manager->IsLoginValid()},
            {QStringLiteral("user"), text([this](wchar_t* b, int s) { m_manager->GetUserName(b, s); })},
            {QStringLiteral("userId"), text([this](wchar_t* b, int s) { m_manager->GetUserId(b, s); })},
            {QStringLiteral("hasToken"), m_manager->GetAccessToken(nullptr, 0) > 0},
            {QStringLiteral("tokenExpires"), static_cast<qint64>(m_manager->GetTokenExpiryDate())},
            {QStringLiteral("loginExpires"), static_cast<qint64>(m_manager->GetLoginExpiryDate())}};
}

QJsonObject Product::initiateLogin() {
    Buffer url{};
    LoginErrorEx error = LoginErrorEx::None;
    int httpStatus = 0;
    const bool done = m_manager->InitiateLogin(nullptr, url.data(), urlSize, error, httpStatus);
    return {{QStringLiteral("ok"), done},
            {QStringLiteral("url"), QString::fromWCharArray(url.data())},
            {QStringLiteral("error"), static_cast<int>(error)},
            {QStringLiteral("httpStatus"), httpStatus}};
}

QJsonObject Product::completeLogin(const Arguments& arguments) {
    if (arguments.isEmpty())
        return {{QStringLiteral("ok"), m_manager->CompleteLogin()}};
    NetworkCookieJar cookies;
    QFile file(arguments.first());
    if (!file.open(QIODevice::ReadOnly) || !WebServicesPrivate::JsonToNetworkCookieJar(file.readAll().constData(), cookies))
        return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), QStringLiteral("the cookie file cannot be read")}};
    return {{QStringLiteral("ok"), m_manager->CompleteLogin(cookies)}, {QStringLiteral("cookies"), cookies.GetCookieCount()}};
}

QJsonObject Product::initiateLogout() {
    Buffer url{};
    NetworkCookieJar cookies;
    const bool done = m_manager->InitiateLogout(url.data(), urlSize, cookies);
    return {{QStringLiteral("ok"), done},
            {QStringLiteral("url"), QString::fromWCharArray(url.data())},
            {QStringLiteral("cookies"), cookies.GetCookieCount()}};
}

QJsonObject Product::signUrl(const Arguments& arguments) {
    const std::unique_ptr<wchar_t[]> url(m_manager->SignUrlForBrowser(arguments.first().toStdWString().c_str(), true));
    return {{QStringLiteral("ok"), url != nullptr},
            {QStringLiteral("url"), url ? QString::fromWCharArray(url.get()) : QString()}};
}

void Product::LoggedIn() {
    print({{QStringLiteral("event"), QStringLiteral("LoggedIn")}});
}

void Product::LoginRestored() {
    print({{QStringLiteral("event"), QStringLiteral("LoginRestored")}});
}

void Product::AboutToLogout(bool& veto) {
    veto = m_vetoes;
    print({{QStringLiteral("event"), QStringLiteral("AboutToLogout")}});
}

void Product::LoggedOut() {
    print({{QStringLiteral("event"), QStringLiteral("LoggedOut")}});
}

void Product::print(const QJsonObject& object) {
    std::puts(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}
