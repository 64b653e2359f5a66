#include "Events/ObserverCall.h"

#include <VqWebServices/IWebServicesObserver3.h>
#include <VqWebServices/IWebServicesObserverPrivate.h>
#include <string>

namespace Velquor::WebServices {

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
        bool wish = false;
        observer.AboutToLogout(wish);
        if (wish && veto)
            *veto = true;
        return true;
    }
    default: return false;
    }
}

void callSecond(IWebServicesObserver2& observer, Event event, const std::wstring& consumerKey) {
    switch (event) {
    case Event::LoggingOut: return observer.LoggingOut();
    case Event::TokenRefreshed: return observer.TokenRefreshed(consumerKey.c_str());
    case Event::TokenAcquired: return observer.TokenAcquired(consumerKey.c_str());
    case Event::TokenAvailable: return observer.TokenAvailable(consumerKey.c_str());
    case Event::TokenQueryFailed: return observer.TokenQueryFailed(consumerKey.c_str());
    default: return;
    }
}

void callThird(IWebServicesObserver3& observer, Event event, const std::wstring& consumerKey) {
    switch (event) {
    case Event::OAuth2Enabled: return observer.OAuth2Enabled(consumerKey.c_str());
    case Event::OAuth2Disabled: return observer.OAuth2Disabled(consumerKey.c_str());
    case Event::OAuth2TokenAcquired: return observer.OAuth2TokenAcquired(consumerKey.c_str());
    case Event::OAuth2TokenAvailable: return observer.OAuth2TokenAvailable(consumerKey.c_str());
    case Event::OAuth2TokenRefreshed: return observer.OAuth2TokenRefreshed(consumerKey.c_str());
    case Event::OAuth2TokenDiscarded: return observer.OAuth2TokenDiscarded(consumerKey.c_str());
    case Event::OAuth2TokenQueryFailed: return observer.OAuth2TokenQueryFailed(consumerKey.c_str());
    default: return;
    }
}

} // namespace

void callObserver(IWebServicesObserver& observer, Event event, const QString& consumerKey, bool* veto) {
    const std::wstring key = consumerKey.toStdWString();
    if (callBase(observer, event, key, veto))
        return;
    // Found out anew at each delivery: the library knows of an observer no more than its base.
    if (auto* const second = dynamic_cast<IWebServicesObserver2*>(&observer))
        callSecond(*second, event, key);
    if (auto* const third = dynamic_cast<IWebServicesObserver3*>(&observer))
        callThird(*third, event, key);
    auto* const accounts = dynamic_cast<IWebServicesObserverPrivate*>(&observer);
    if (accounts && event == Event::AccountCreated)
        accounts->AccountCreated();
    auto* const signOn = dynamic_cast<IWebServicesSSOObserverPrivate*>(&observer);
    if (signOn && event == Event::LoginDialogTimeoutInVqSSOServer)
        signOn->LoginDialogTimeoutInVqSSOServer();
}

} // namespace Velquor::WebServices
