#include "Events/ObserverCall.h"

#include <VqWebServices/IWebServicesObserver3.h>
#include <VqWebServices/IWebServicesObserverPrivate.h>
#include <string>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

// False when the base interface has no operation for the event.
bool callBase(IWebServicesObserver& observer, Event event, const std::wstring& consumerKey, bool* veto) {
    switch (event) {
    case Event::LoggedIn: observer.LoggedIn(); return true;
    case Event::LoginRestored: observer.LoginRestored(); return true;
    case Event::LoggedOut: observer.LoggedOut(); return true;
    case Event::ServerChanged: observer.ServerChanged(consumerKey.c_str()); return true;
    case Event::AboutToLogout: {
        bool isVetoed = false;
        observer.AboutToLogout(isVetoed);
        if (isVetoed && veto)
            *veto = true;
        return true;
    }
    default: return false;
    }
}

// The same for the second interface, and below for the third.
bool callSecond(IWebServicesObserver2& observer, Event event, const std::wstring& consumerKey) {
    switch (event) {
    case Event::LoggingOut: observer.LoggingOut(); return true;
    case Event::TokenRefreshed: observer.TokenRefreshed(consumerKey.c_str()); return true;
    case Event::TokenAcquired: observer.TokenAcquired(consumerKey.c_str()); return true;
    case Event::TokenAvailable: observer.TokenAvailable(consumerKey.c_str()); return true;
    case Event::TokenQueryFailed: observer.TokenQueryFailed(consumerKey.c_str()); return true;
    default: return false;
    }
}

bool callThird(IWebServicesObserver3& observer, Event event, const std::wstring& consumerKey) {
    switch (event) {
    case Event::OAuth2Enabled: observer.OAuth2Enabled(consumerKey.c_str()); return true;
    case Event::OAuth2Disabled: observer.OAuth2Disabled(consumerKey.c_str()); return true;
    case Event::OAuth2TokenAcquired: observer.OAuth2TokenAcquired(consumerKey.c_str()); return true;
    case Event::OAuth2TokenAvailable: observer.OAuth2TokenAvailable(consumerKey.c_str()); return true;
    case Event::OAuth2TokenRefreshed: observer.OAuth2TokenRefreshed(consumerKey.c_str()); return true;
    case Event::OAuth2TokenDiscarded: observer.OAuth2TokenDiscarded(consumerKey.c_str()); return true;
    case Event::OAuth2TokenQueryFailed: observer.OAuth2TokenQueryFailed(consumerKey.c_str()); return true;
    default: return false;
    }
}

} // namespace

void callObserver(IWebServicesObserver& observer, Event event, const QString& consumerKey, bool* veto) {
    if (auto* const sink = dynamic_cast<IEventSink*>(&observer))
        return sink->receive(event, consumerKey, veto);
    const std::wstring key = consumerKey.toStdWString();
    if (callBase(observer, event, key, veto))
        return;
    // The type is determined at each delivery, since the library stores the base interface only. The observer is not touched
    // after its operation has returned, since the operation may have deleted it.
    auto* const second = dynamic_cast<IWebServicesObserver2*>(&observer);
    if (second && callSecond(*second, event, key))
        return;
    auto* const third = dynamic_cast<IWebServicesObserver3*>(&observer);
    if (third && callThird(*third, event, key))
        return;
    if (event == Event::AccountCreated) {
        if (auto* const accounts = dynamic_cast<IWebServicesObserverPrivate*>(&observer))
            accounts->AccountCreated();
    } else if (event == Event::LoginDialogTimeoutInVqSSOServer) {
        if (auto* const signOn = dynamic_cast<IWebServicesSSOObserverPrivate*>(&observer))
            signOn->LoginDialogTimeoutInVqSSOServer();
    }
}

} // namespace Velquor::WebServices::Internal
