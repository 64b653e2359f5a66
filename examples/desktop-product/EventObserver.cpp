#include "EventObserver.h"

void EventObserver::AboutToLogout(bool& veto) {
    // The library waits for the answer, and so does the user. A question to the user comes after the veto.
    veto = m_veto && m_veto();
    emit happened(QStringLiteral("AboutToLogout"));
}

void EventObserver::tell(const QString& event, const wchar_t* consumerKey) {
    emit happened(event, consumerKey ? QString::fromWCharArray(consumerKey) : QString());
}
