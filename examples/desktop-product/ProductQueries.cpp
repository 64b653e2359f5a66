// The calls of the library that read its state.

#include "ProductCalls.h"

#include <QXmlStreamReader>
#include <VqWebServices/WebServicesManager.h>
#include <array>
#include <memory>

using namespace Velquor::WebServices;

namespace {

constexpr int textSize = 1024;

using GetText = int (WebServicesManager::*)(wchar_t*, int);

QString text(WebServicesManager& manager, GetText get) {
    std::array<wchar_t, textSize> buffer{};
    (manager.*get)(buffer.data(), textSize);
    return QString::fromWCharArray(buffer.data());
}

/// The names of the services in the entitlement reply.
QStringList serviceNames(const QString& reply) {
    QStringList names;
    QXmlStreamReader reader(reply);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("Name"))
            names.append(reader.readElementText(QXmlStreamReader::SkipChildElements));
    }
    return names;
}

} // namespace

AccountState ProductCalls::readState() {
    AccountState state;
    WebServicesManager* const manager = WebServicesManager::GetInstance();
    if (!manager)
        return state;
    state.isSignedIn = manager->IsLoggedIn();
    state.userName = text(*manager, &WebServicesManager::GetLoginUserName);
    state.userId = text(*manager, &WebServicesManager::GetUserId);
    state.signInExpiry = manager->GetLoginExpiryDate();
    state.accessToken = {manager->IsTokenAvailable(), manager->GetTokenExpiryDate()};
    state.oauth2Token = {manager->IsOAuth2TokenAvailable(), manager->GetOAuth2TokenExpiryDate()};
    state.server = manager->GetServer();
    state.hasProxy = manager->HasProxyInfo();
    return state;
}

AccountDetails ProductCalls::readDetails() {
    AccountDetails details;
    WebServicesManager* const manager = WebServicesManager::GetInstance();
    if (!manager)
        return details;
    details.email = text(*manager, &WebServicesManager::GetUserEmail);
    details.firstName = text(*manager, &WebServicesManager::GetUserFirstName);
    details.lastName = text(*manager, &WebServicesManager::GetUserLastName);
    long long used = 0;
    long long total = 0;
    details.hasQuota = manager->GetCloudStorageQuota(used, total);
    details.usedBytes = used;
    details.totalBytes = total;
    wchar_t* reply = nullptr;
    details.hasServices = manager->GetServiceEntitlementEx(reply);
    const std::unique_ptr<wchar_t[]> owned(reply);
    if (!details.hasServices)
        return details;
    for (const QString& name : serviceNames(QString::fromWCharArray(owned.get())))
        details.services.append({name, manager->GetServiceEntitlement(name.toStdWString().c_str())});
    return details;
}

void ProductCalls::forgetDetails() {
    if (WebServicesManager* const manager = WebServicesManager::GetInstance()) {
        for (const CacheType type : {CacheType::UserInfo, CacheType::StorageQuota, CacheType::Entitlement})
            manager->InvalidateCache(type);
    }
}
