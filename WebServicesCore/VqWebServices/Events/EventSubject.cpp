#include "Events/EventSubject.h"

#include "Values/OAuth2TokenSpecImp.h"

namespace Velquor::WebServices::Internal {

EventSubject EventSubject::ofStateChange(const QString& key) {
    EventSubject subject(key);
    subject.isStateChange = true;
    return subject;
}

EventSubject fromParams(const QVariantMap& params) {
    EventSubject subject(params.value(EventParam::consumerKey).toString());
    const auto isStateChange = params.constFind(EventParam::isStateChange);
    if (isStateChange != params.constEnd())
        subject.isStateChange = isStateChange->toBool();
    return subject;
}

QVariantMap toParams(const EventSubject& subject) {
    QVariantMap params{{EventParam::consumerKey, subject.consumerKey}};
    if (subject.oauth2Spec) {
        const OAuth2TokenSpecImp& spec = OAuth2TokenSpecImp::of(*subject.oauth2Spec);
        params.insert(EventParam::oauth2Type, static_cast<int>(spec.type));
        params.insert(EventParam::oauth2Scope, spec.scope);
        params.insert(EventParam::oauth2Legacy, spec.legacy);
    }
    if (subject.isStateChange)
        params.insert(EventParam::isStateChange, *subject.isStateChange);
    return params;
}

bool isAboutOneToken(WebServicesPrivateCore::WebServicesEvent event) {
    using Event = WebServicesPrivateCore::WebServicesEvent;
    switch (event) {
    case Event::OAuth2Enabled:
    case Event::OAuth2TokenAcquired:
    case Event::OAuth2TokenRefreshed:
    case Event::OAuth2TokenDiscarded:
    case Event::OAuth2TokenQueryFailed: return true;
    default: return false;
    }
}

} // namespace Velquor::WebServices::Internal
