#include "Session/Operations/StateDump.h"

#include "Session/Core/LockedState.h"
#include "Session/Products/TokenOperations.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QJsonArray>
#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

namespace {

QJsonObject describe(const ClientInfo& client) {
    QJsonArray configurations;
    for (const ConfigurationPointer& configuration : client.configurations())
        configurations += WebServicesConfigurationImp::of(*configuration).toDumpJson();
    const ClientIdentity& identity = client.identity();
    return {{QStringLiteral("ConsumerKey"), identity.clientKey},
            {QStringLiteral("Pid"), identity.processId},
            {QStringLiteral("ProductName"), identity.productName},
            {QStringLiteral("ProductExeFile"), identity.productExeFile},
            {QStringLiteral("Configurations"), configurations}};
}

QJsonObject describe(const ProductLoginSession& product) {
    const TokenOperations* const operations = product.operations();
    return {{QStringLiteral("ConsumerKey"), product.productKey()},
            {QStringLiteral("Server"), static_cast<int>(product.server())},
            {QStringLiteral("ProductName"), product.displayName()},
            {QStringLiteral("IsTokenRefreshTimerActive"), operations && operations->isTokenRefreshTimerActive()},
            {QStringLiteral("IsOAuth2Enabled"), product.oauth2().isEnabled()},
            {QStringLiteral("ClientReferences"), product.clientReferences().text()}};
}

} // namespace

QJsonObject dumpState(SessionState& session) {
    const LockedState state(session);
    QJsonArray clients;
    for (const ClientInfo& client : state->clients().all())
        clients += describe(client);
    QJsonArray products;
    for (const ProductSessionPointer& product : state->products().all())
        products += describe(*product);
    return {{QStringLiteral("LoginSession"),
             QJsonObject{{QStringLiteral("Clients"), clients}, {QStringLiteral("ProductLoginSessions"), products}}}};
}

} // namespace Velquor::WebServices::Internal
