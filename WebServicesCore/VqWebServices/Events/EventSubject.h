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

    /// Of a sign-in or sign-out that the sender has written to the login state file.
    [[nodiscard]] static EventSubject ofStateChange(const QString& key);

    QString consumerKey;
    std::optional<OAuth2TokenSpec> oauth2Spec;
    /// `LoggedIn` and `LoggedOut`: whether the change is in the login state file, so that following the file notifies the
    /// observers. False when a sibling module raised the event; nothing when an older process, which does not say, sent it.
    std::optional<bool> isStateChange;
};

/// The names of the parameters that events carry between processes.
namespace EventParam {
inline const auto consumerKey = QStringLiteral("ConsumerKey");
inline const auto oauth2Type = QStringLiteral("OAuth2TokenType");
inline const auto oauth2Scope = QStringLiteral("OAuth2TokenScope");
inline const auto oauth2Legacy = QStringLiteral("OAuth2TokenLegacy");
inline const auto isStateChange = QStringLiteral("IsStateChange");
inline const auto eventId = QStringLiteral("EventId");
} // namespace EventParam

/// The parameters of an event with this subject.
[[nodiscard]] QVariantMap toParams(const EventSubject& subject);
/// The subject without its token, which `NotificationManager::GetOAuth2TokenSpec` reads.
[[nodiscard]] EventSubject fromParams(const QVariantMap& params);

/// Events that concern one OAuth2 token of a product.
[[nodiscard]] bool isAboutOneToken(WebServicesPrivateCore::WebServicesEvent event);

} // namespace Velquor::WebServices::Internal
