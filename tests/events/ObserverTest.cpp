// Which observer hears which event, and what an observer may do while it is called.

#include "Events/EventDispatcher.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/Test.h"

#include <VqWebServices/IWebServicesObserver3.h>
#include <VqWebServices/IWebServicesObserverPrivate.h>
#include <cstring>
#include <new>
#include <stdexcept>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

using Observer = TestKit::RecordingObserver<>;

class Third : public TestKit::RecordingObserver<IWebServicesObserver3> {
public:
    void LoggingOut() override { record("LoggingOut"); }
    void TokenRefreshed(const wchar_t* key) override { record("TokenRefreshed", key); }
    void TokenAcquired(const wchar_t* key) override { record("TokenAcquired", key); }
    void TokenAvailable(const wchar_t* key) override { record("TokenAvailable", key); }
    void TokenQueryFailed(const wchar_t* key) override { record("TokenQueryFailed", key); }
    void OAuth2Enabled(const wchar_t* key) override { record("OAuth2Enabled", key); }
    void OAuth2Disabled(const wchar_t* key) override { record("OAuth2Disabled", key); }
    void OAuth2TokenAcquired(const wchar_t* key) override { record("OAuth2TokenAcquired", key); }
    void OAuth2TokenAvailable(const wchar_t* key) override { record("OAuth2TokenAvailable", key); }
    void OAuth2TokenRefreshed(const wchar_t* key) override { record("OAuth2TokenRefreshed", key); }
    void OAuth2TokenDiscarded(const wchar_t* key) override { record("OAuth2TokenDiscarded", key); }
    void OAuth2TokenQueryFailed(const wchar_t* key) override { record("OAuth2TokenQueryFailed", key); }
};

class Accounts : public IWebServicesObserverPrivate {
public:
    void AccountCreated() override { heard += "AccountCreated"; }
    QStringList heard;
};

class SignOn : public IWebServicesSSOObserverPrivate {
public:
    void LoginDialogTimeoutInVqSSOServer() override { heard += "LoginDialogTimeoutInVqSSOServer"; }
    QStringList heard;
};

} // namespace

class ObserverTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_logger = std::make_shared<TestKit::RecordingLogger>();
        m_dispatcher = std::make_unique<EventDispatcher>(
            m_logger, [] { return true; }, [] { return false; });
    }

    void everyEventReachesItsOperationOnce() {
        Observer base;
        Third third;
        Accounts accounts;
        SignOn signOn;
        for (IWebServicesObserver* const observer :
             {static_cast<IWebServicesObserver*>(&base), static_cast<IWebServicesObserver*>(&third),
              static_cast<IWebServicesObserver*>(&accounts), static_cast<IWebServicesObserver*>(&signOn)})
            m_dispatcher->observers().add(observer);
        base.vetoes = true;
        bool veto = false;
        for (int number = -1; number <= 20; ++number)
            QVERIFY(m_dispatcher->callObservers(static_cast<Event>(number), "key", &veto));
        QVERIFY(veto);
        QCOMPARE(base.heard, QStringList({"LoggedIn", "LoginRestored", "LoggedOut", "AboutToLogout", "ServerChanged:key"}));
        QCOMPARE(third.heard,
                 QStringList({"LoggedIn", "LoginRestored", "LoggedOut", "TokenRefreshed:key", "AboutToLogout", "LoggingOut",
                              "ServerChanged:key", "OAuth2TokenRefreshed:key", "TokenAcquired:key", "TokenAvailable:key",
                              "OAuth2Enabled:key", "OAuth2Disabled:key", "OAuth2TokenAcquired:key", "OAuth2TokenAvailable:key",
                              "OAuth2TokenDiscarded:key", "TokenQueryFailed:key", "OAuth2TokenQueryFailed:key"}));
        QCOMPARE(accounts.heard, QStringList({"AccountCreated"}));
        QCOMPARE(signOn.heard, QStringList({"LoginDialogTimeoutInVqSSOServer"}));
    }

    void anObserverThatThrowsOrRemovesOthersDisturbsNobodyElse() {
        Observer thrower;
        Observer remover;
        Observer removed;
        Observer last;
        thrower.reaction = [] { throw std::runtime_error("oops"); };
        remover.reaction = [&] {
            m_dispatcher->observers().remove(&removed);
            m_dispatcher->observers().remove(&remover);
        };
        for (Observer* const observer : {&thrower, &remover, &removed, &last})
            m_dispatcher->observers().add(observer);
        QVERIFY(m_dispatcher->callObservers(Event::LoggedOut, {}, nullptr));
        QCOMPARE(last.heard, QStringList({"LoggedOut"}));
        QVERIFY(removed.heard.isEmpty());
        QCOMPARE(m_logger->texts(Log::Level::Error), QStringList({"An observer threw an exception in event LoggedOut: oops"}));
    }

    void anObserverMayDeleteItself() {
        const TestKit::Rows row(this, [&](Event event) {
            Third last;
            alignas(Third) char place[sizeof(Third)];
            auto* const mortal = new (place) Third;
            mortal->reaction = [this, mortal, &place] {
                m_dispatcher->observers().remove(mortal);
                mortal->~Third();
                // A call of the destroyed object would crash now.
                std::memset(place, 0, sizeof place);
            };
            m_dispatcher->observers().add(mortal);
            m_dispatcher->observers().add(&last);
            QVERIFY(m_dispatcher->callObservers(event, "key", nullptr));
            QCOMPARE(last.heard.size(), 1);
        });
        row("of the first interface", Event::LoggedOut);
        row("of the second interface", Event::TokenRefreshed);
        row("of the third interface", Event::OAuth2Enabled);
    }

private:
    std::shared_ptr<TestKit::RecordingLogger> m_logger;
    std::unique_ptr<EventDispatcher> m_dispatcher;
};

QTEST_GUILESS_MAIN(ObserverTest)
#include "ObserverTest.moc"
