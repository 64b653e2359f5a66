#include "EventObserver.h"

#include <QCoreApplication>
#include <VqWebServices/WebServicesManager.h>
#include <cstdio>

using namespace Velquor::WebServices;

namespace {

// The keys that the operator of the services gave to the product. They are not on the command line, since every program can read
// that.
WebServicesConfiguration configuration() {
    WebServicesConfiguration result;
    result.SetConsumerKey(qEnvironmentVariable("VQWS_CONSUMER_KEY").toStdWString().c_str());
    result.SetConsumerSecret(qEnvironmentVariable("VQWS_CONSUMER_SECRET").toStdWString().c_str());
    return result;
}

} // namespace

int main(int argc, char** argv) {
    // The event loop of this thread delivers the events, since this thread initializes the library.
    QCoreApplication application(argc, argv);
    WebServicesManager::SetSupportFileSearchPaths(qEnvironmentVariable("VQWS_SUPPORT").toStdWString().c_str());
    if (!WebServicesManager::Initialize())
        return 1;
    WebServicesManager* const manager = WebServicesManager::GetInstance();
    EventObserver observer;
    // Added before RestoreLogin, so that the observer receives its event too.
    manager->AddObserver(&observer);
    observer.setInsideOwnCall(true);
    const bool restored = manager->SetConfiguration(configuration()) && manager->RestoreLogin();
    observer.setInsideOwnCall(false);
    if (!restored)
        std::fputs("event-watch: set VQWS_CONSUMER_KEY, VQWS_CONSUMER_SECRET and VQWS_SUPPORT, the folder of the URL files\n",
                   stderr);
    // Runs until the program is ended. The library needs no call then: other processes clean up after it.
    const int status = restored ? QCoreApplication::exec() : 1;
    manager->RemoveObserver(&observer);
    WebServicesManager::Uninitialize();
    return status;
}
