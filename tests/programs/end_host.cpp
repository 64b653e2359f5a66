// A host that ends in the way of its last argument, with status 7. Before it: "qt" makes an application object, "gone" destroys
// it before the end, "busy" keeps a thread inside calls, and "daemon" starts in a forked child.

#include "Platform/SystemEnds.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <VqWebServices/WebServicesManager.h>
#include <cstdlib>
#include <memory>
#include <thread>

using namespace Velquor::WebServices;

namespace {

constexpr int hostStatus = 7;

/// Ends the library in its destructor when it is asked to.
struct LateUninitialize {
    bool isWanted = false;
    ~LateUninitialize() {
        if (isWanted)
            WebServicesManager::Uninitialize();
    }
} lateUninitialize;

[[noreturn]] void callForever() {
    while (true) {
        if (WebServicesManager* const manager = WebServicesManager::GetInstance()) {
            manager->RestoreLogin();
            manager->IsLoggedIn();
        }
    }
}

int end(const std::string& how) {
    if (how == "static")
        lateUninitialize.isWanted = true;
    else if (how == "uninitialize")
        WebServicesManager::Uninitialize();
    else if (how == "thread-uninitialize")
        std::thread(&WebServicesManager::Uninitialize).join();
    else if (how == "exit")
        std::exit(hostStatus);
    else if (how == "thread-exit")
        std::thread([] { std::exit(hostStatus); }).join();
    else if (how == "abort")
        std::abort();
    else
        Velquor::Tests::endAsOnlyThisSystemDoes(how, hostStatus);
    return hostStatus;
}

} // namespace

int main(int argc, char** argv) {
    const QStringList options = QString::fromLatin1(argv[1]).split(QLatin1Char(' '));
    if (options.contains(QStringLiteral("daemon")))
        Velquor::Tests::continueInChild();
    std::unique_ptr<QCoreApplication> application;
    if (options.contains(QStringLiteral("qt")))
        application = std::make_unique<QCoreApplication>(argc, argv);
    WebServicesManager::Initialize();
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(L"demo-product-0001");
    configuration.SetConsumerSecret(L"demo-secret-0001");
    WebServicesManager::GetInstance()->SetConfiguration(configuration);
    if (options.contains(QStringLiteral("busy")))
        std::thread(callForever).detach();
    // All threads are at work by then.
    QEventLoop loop;
    QTimer::singleShot(200, &loop, &QEventLoop::quit);
    loop.exec();
    if (options.contains(QStringLiteral("gone")))
        application.reset();
    return end(options.last().toStdString());
}
