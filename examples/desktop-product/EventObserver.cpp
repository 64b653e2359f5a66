#include "EventObserver.h"

void EventObserver::AboutToLogout(bool& veto) {
    // A product with unsaved work on the server would ask its user before it lets the sign-out happen.
    veto = false;
    emit happened(QStringLiteral("AboutToLogout"));
}

void EventObserver::tell(const QString& event, const wchar_t* consumerKey) {
    emit happened(event, consumerKey ? QString::fromWCharArray(consumerKey) : QString());
}
