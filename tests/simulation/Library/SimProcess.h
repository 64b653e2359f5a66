#pragma once

#include "Session/LoginSession.h"
#include "TestKit/RecordingObserver.h"
#include "simulation/Library/Machine.h"
#include "simulation/ProcessThreads.h"

#include <VqWebServices/IWebServicesObserver2.h>

namespace Velquor::Simulation {

/// One process of the library from its start to its end: a login session on a main thread, and a user who does things there.
///
/// Thread: made and asked by the director; the rest on its own main thread. Owner: the run. Errors: `broken`.
class SimProcess {
public:
    SimProcess(Machine& machine, const QByteArray& name, const QString& productKey);

    /// @name Director
    void kill() { m_machine.world.kill(m_process); }
    [[nodiscard]] bool isAlive() const { return !m_process.isKilled && !m_isEnded; }
    [[nodiscard]] bool isRestored() const { return isAlive() && m_session && m_session->isRestored(); }
    /// The number of the sign-in that the process shows to its host; 0: nobody is signed in.
    [[nodiscard]] int shownSignIn() const;
    /// The number of the access token of its product; 0: it has none.
    [[nodiscard]] int token() const;
    [[nodiscard]] int oauth2Token() const;
    [[nodiscard]] const Process& process() const { return m_process; }
    [[nodiscard]] const QString& productKey() const { return m_productKey; }
    /// The sign-ins and sign-outs that the observer was told, in order: the number of a sign-in, 0 for a sign-out. A sign-in that
    /// was over when the observer was told is unknown.
    static constexpr int unknownSignIn = -1;
    [[nodiscard]] const std::vector<int>& told() const { return m_told; }
    /// The observer was told that the automatic sign-in of the product has failed for good.
    [[nodiscard]] bool hasGivenUp() const { return m_hasGivenUp; }
    [[nodiscard]] const QString& broken() const { return m_broken; }

private:
    void start();
    void finish();
    [[nodiscard]] WebServices::Internal::SessionDependencies services();
    [[nodiscard]] WebServices::Internal::LoginSession& session();
    void live();
    void act();
    void signRequest();
    void initiateSignIn();
    void completeSignIn(int number, bool mayTryAgain);
    void endPending();
    void signOut();
    void end();
    void later(int spanMs, std::function<void()> act);
    void heard();
    void told(int signIn);
    void setPending(bool isPending);

    Machine& m_machine;
    Process& m_process;
    const QString m_productKey;
    const QString m_clientKey;
    const std::shared_ptr<ProcessThreads> m_threads;
    const std::shared_ptr<AccountService> m_network;
    const std::unique_ptr<QThread> m_main;
    QObject m_host;
    std::shared_ptr<WebServices::Internal::LoginSession> m_session;
    /// Records also what the automatic sign-in of a product tells.
    class Observer : public TestKit::RecordingObserver<WebServices::IWebServicesObserver2> {
        void TokenAcquired(const wchar_t*) override { record("TokenAcquired"); }
        void TokenAvailable(const wchar_t*) override { record("TokenAvailable"); }
        void TokenQueryFailed(const wchar_t*) override { record("TokenQueryFailed"); }
    };
    Observer m_observer;
    std::vector<int> m_told;
    QString m_broken;
    bool m_isBusy = false;      ///< In an act, which may let others in.
    bool m_wasRestored = false; ///< Since then it was told of no sign-in or sign-out.
    bool m_isPending = false;   ///< A sign-in waits for the browser.
    bool m_hasGivenUp = false;
    bool m_isEnded = false;
};

} // namespace Velquor::Simulation
