#pragma once

#include "Events/ObserverCall.h"
#include "Session/LoginSession.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// The one observer through which all registrations of the C interface receive events. It is never destroyed, so the library may
/// be about to call it while another thread ends a registration.
///
/// Thread: called on the thread of the login session. Owner: the process.
class CEventBridge : public IEventSink {
public:
    static CEventBridge& instance();

    /// Receives the events of this session from now on.
    void join(const std::shared_ptr<LoginSession>& session);
    void leave();

    void receive(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey, bool* veto) override;

private:
    /// An observer has signed the user out again, or has ended the library.
    [[nodiscard]] bool isOver(WebServicesPrivateCore::WebServicesEvent event) const;

    std::weak_ptr<LoginSession> m_session;
};

} // namespace Velquor::WebServices::Internal
