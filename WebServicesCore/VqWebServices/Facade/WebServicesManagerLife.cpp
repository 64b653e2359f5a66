// The static operations of the facade: start and stop of the library, and the operations that are allowed before the start.

#include "Facade/FacadeCall.h"
#include "Network/Urls/SupportFiles.h"
#include "Network/Urls/UrlStore.h"
#include "Runtime/PluginPaths.h"
#include "Values/CallerText.h"
#include "VqUtil/Platform/EventHook.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <VqWebServices/WebServicesManager.h>
#include <atomic>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

bool start(const QVector<OAuth2TokenSpec>& specs) {
    return guarded("Initialize", false, [&] { return WebServicesManagerImp::instance().initialize(specs); });
}

// A host may have initialized the library on a thread without an event loop of Qt; its events are posted there all the same.
bool servesEvents() {
    const auto session = WebServicesManagerImp::instance().session();
    if (QAbstractEventDispatcher::instance() || (session && session->thread() == QThread::currentThread()))
        return true;
    // Once, since hosts call the operation in a loop.
    static std::atomic<bool> isLogged{false};
    if (!isLogged.exchange(true))
        Log::rootLogger().error(
            QStringLiteral("DispatchEvent failed. This thread serves no events. Call it on the thread of Initialize."));
    return false;
}

} // namespace

bool WebServicesManager::Initialize() {
    return start({});
}

bool WebServicesManager::Initialize(bool enableOAuth2) {
    return start(enableOAuth2 ? QVector<OAuth2TokenSpec>{OAuth2Settings::legacySpec()} : QVector<OAuth2TokenSpec>());
}

bool WebServicesManager::Initialize(bool enableOAuth2, bool) {
    return Initialize(enableOAuth2);
}

bool WebServicesManager::Initialize(const OAuth2TokenSpec& spec) {
    return start({spec});
}

bool WebServicesManager::Uninitialize() {
    return guarded("Uninitialize", false, [] { return WebServicesManagerImp::instance().uninitialize(); });
}

bool WebServicesManager::IsInitialized() {
    return WebServicesManagerImp::instance().isInitialized();
}

WebServicesManager* WebServicesManager::GetInstance() {
    WebServicesManagerImp& singleton = WebServicesManagerImp::instance();
    return singleton.hasSession() ? &singleton.manager() : nullptr;
}

void WebServicesManager::SetSupportFileSearchPaths(const wchar_t* paths) {
    guarded("SetSupportFileSearchPaths", [&] {
        SupportFiles::setSearchPaths(textFromCaller(paths));
        UrlStore::instance().clearCache();
    });
}

int WebServicesManager::GetSupportFileSearchPaths(wchar_t* buffer, int size) {
    return guarded("GetSupportFileSearchPaths", 0, [&] { return copyText(SupportFiles::searchPathsText(), buffer, size); });
}

void WebServicesManager::SetDefaultPluginSearchPaths() {
    guarded("SetDefaultPluginSearchPaths", [&] { PluginPaths::setDefaults(); });
}

void WebServicesManager::AddPluginSearchPath(const wchar_t* path) {
    guarded("AddPluginSearchPath", [&] { PluginPaths::add(textFromCaller(path)); });
}

bool WebServicesManager::SetEventHook() {
    return guarded("SetEventHook", false, [&] {
        if (Util::EventHook::isInstalled())
            return true;
        const QCoreApplication* const application = QCoreApplication::instance();
        if (application && qstrcmp(application->metaObject()->className(), "QApplication") == 0) {
            Log::rootLogger().warning(QStringLiteral(
                "Ignoring call to set event hook. It is not required since your application is using QApplication."));
            return true;
        }
        Log::rootLogger().information(QStringLiteral("Setting event hook"));
        const Util::Result<void> installed = Util::EventHook::install();
        if (!installed)
            Log::rootLogger().error(QStringLiteral("Failed to set event hook. %1").arg(installed.reason()));
        return static_cast<bool>(installed);
    });
}

bool WebServicesManager::RemoveEventHook() {
    return guarded("RemoveEventHook", false, [&] {
        Log::rootLogger().information(QStringLiteral("Removing event hook"));
        Util::EventHook::remove();
        return true;
    });
}

bool WebServicesManager::DispatchEvent() {
    return guarded("DispatchEvent", false, [&] {
        if (!QCoreApplication::instance() || !servesEvents())
            return false;
        QCoreApplication::sendPostedEvents();
        return true;
    });
}

void WebServicesManager::EnableLog(bool) {}

} // namespace Velquor::WebServices

Velquor::WebServices::IWebServicesManager* GetIWebServicesManager() {
    return Velquor::WebServices::WebServicesManagerImp::instance().runtimeObject();
}
