#pragma once

#include "Events/WebServicesEvent.h"

#include <QVariantMap>

namespace Velquor::WebServices {

/// The names of the parameters that events carry between processes.
namespace EventParam {
inline const auto consumerKey = QStringLiteral("ConsumerKey");
inline const auto oauth2Type = QStringLiteral("OAuth2TokenType");
inline const auto oauth2Scope = QStringLiteral("OAuth2TokenScope");
inline const auto eventId = QStringLiteral("EventId");
} // namespace EventParam

/// Who acts on the events of other processes. Thread: the notification thread. Owner: the login session implements it.
class INotificationListener {
public:
    virtual ~INotificationListener() = default;
    virtual void eventReceived(WebServicesPrivateCore::WebServicesEvent event, const QVariantMap& params) = 0;
};

} // namespace Velquor::WebServices
