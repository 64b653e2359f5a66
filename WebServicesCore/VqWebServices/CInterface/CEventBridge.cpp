#include "CInterface/CEventBridge.h"

#include "CInterface/CRegistration.h"
#include "Facade/WebServicesManagerImp.h"

#include <QThread>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

CEventBridge& CEventBridge::instance() {
    static auto* const bridge = new CEventBridge;
    return *bridge;
}

void CEventBridge::join(const std::shared_ptr<LoginSession>& session) {
    m_session = session;
    session->observers().add(this);
}

void CEventBridge::leave() {
    if (const auto session = m_session.lock())
        session->observers().remove(this);
}

void CEventBridge::receive(Event event, const QString& consumerKey, bool* veto) {
    const QByteArray key = consumerKey.toUtf8();
    const vqws_event told{sizeof(vqws_event),
                          static_cast<int32_t>(event),
                          {key.constData(), static_cast<size_t>(key.size())},
                          static_cast<uint64_t>(reinterpret_cast<uintptr_t>(QThread::currentThreadId()))};
    for (const auto& registration : CRegistrations::instance().all(CRegistrations::Kind::Events)) {
        int32_t answer = 0;
        registration->run([&] { answer = registration->event(&told, registration->user); });
        if (veto && answer != 0)
            *veto = true;
        if (isOver(event))
            return;
    }
}

bool CEventBridge::isOver(Event event) const {
    const auto session = WebServicesManagerImp::instance().session();
    return !session || (event == Event::LoggedIn && !session->isLoggedIn(QString()));
}

} // namespace Velquor::WebServices::Internal
