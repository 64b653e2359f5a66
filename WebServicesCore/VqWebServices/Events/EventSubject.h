#pragma once

#include "Events/WebServicesEvent.h"

#include <QString>
#include <QVariantMap>
#include <VqWebServices/OAuth2TokenSpec.h>
#include <optional>
#include <utility>

namespace Velquor::WebServices::Internal {

/// The subject of an event: a product, and for some OAuth2 events one of its tokens.
struct EventSubject {
    // Implicit: most events concern a product only.
    EventSubject(QString key = {}, std::optional<OAuth2TokenSpec> spec = {}) // NOLINT(google-explicit-constructor)
        : consumerKey(std::move(key))
        , oauth2Spec(std::move(spec)) {}

    QString consumerKey;
    std::optional<OAuth2TokenSpec> oauth2Spec;
};

/// The names of the parameters that events carry between processes.
namespace EventParam {
inline const auto consumerKey = QStringLiteral("ConsumerKey");
inline const auto oauth2Type = QStringLiteral("OAuth2TokenType");
inline const auto oauth2Scope = QStringLiteral("OAuth2TokenScope");
inline const auto oauth2Legacy = QStringLiteral("OAuth2TokenLegacy");
inline const auto eventId = QStringLiteral("EventId");
} // namespace EventParam

/// The parameters of an event with this subject.
[[nodiscard]] QVariantMap toParams(const EventSubject& subject);

/// Events that concern one OAuth2 token of a product.
[[nodiscard]] bool isAboutOneToken(WebServicesPrivateCore::WebServicesEvent event);

} // namespace Velquor::WebServices::Internal
