// Which observer hears which event, and what an observer may do while it is called.

#include "Events/EventDispatcher.h"
#include "TestKit/RecordingLogger.h"

#include <QtTest>
#include <VqWebServices/IWebServicesObserver3.h>
#include <VqWebServices/IWebServicesObserverPrivate.h>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

QString withKey(const char* name, const wchar_t* key) {
    return QString::fromLatin1(name) + ':' + QString::fromWCharArray(key);
}

class Base : public IWebServicesObserver {
public:
    void LoggedIn() override { hear("LoggedIn"); }
    void LoginRestored() override { hear("LoginRestored"); }
    void LoggedOut() override { hear("LoggedOut"); }
    void AboutToLogout(bool& veto) override {
        veto = true;
        hear("AboutToLogout");
    }
    void ServerChanged(const wchar_t* key) override { hear(withKey("ServerChanged", key)); }

    void hear(const QString& event) {
        heard += event;
        if (reaction)
            reaction();
    }
    QStringList heard;
    std::function<void()> reaction;
};

class Third : public IWebServicesObserver3 {
public:
    void LoggedIn() override { hear("LoggedIn"); }
    void LoggingOut() override { hear("LoggingOut"); }
    void TokenRefreshed(const wchar_t* key) override { hear(withKey("TokenRefreshed", key)); }
    void TokenAcquired(const wchar_t* key) override { hear(withKey("TokenAcquired", key)); }
    void TokenAvailable(const wchar_t* key) override { hear(withKey("TokenAvailable", key)); }
    void TokenQueryFailed(const wchar_t* key) override { hear(withKey("TokenQueryFailed", key)); }
    void OAuth2Enabled(const wchar_t* key) override { hear(withKey("OAuth2Enabled", key)); }
    void OAuth2Disabled(const wchar_t* key) override { hear(withKey("OAuth2Disabled", key)); }
    void OAuth2TokenAcquired(const wchar_t* key) override { hear(withKey("OAuth2TokenAcquired", key)); }
    void OAuth2TokenAvailable(const wchar_t* key) override { hear(withKey("OAuth2TokenAvailable", key)); }
    void OAuth2TokenRefreshed(const wchar_t* key) override { hear(withKey("OAuth2TokenRefreshed", key)); }
    void OAuth2TokenDiscarded(const wchar_t* key) override { hear(withKey("OAuth2TokenDiscarded", key)); }
    void OAuth2TokenQueryFailed(const wchar_t* key) override { hear(withKey("OAuth2TokenQueryFailed", key)); }
    void LoggedOut() override { hear("LoggedOut"); }

    void hear(const QString& event) {
        heard += event;
        // A copy, since it may destroy this object.
        const auto own = reaction;
        if (own)
            own();
    }
    QStringList heard;
    std::function<void()> reaction;
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
        m_isLoggedIn = true;
        m_logger = std::make_shared<TestKit::RecordingLogger>();
        m_isStopped = false;
        m_dispatcher = std::make_unique<EventDispatcher>(
            m_logger, [this] { return m_isLoggedIn; }, [this] { return m_isStopped; });
    }

    void everyEventReachesItsOperationOnce() {
        Base base;
        Third third;
        Accounts accounts;
        SignOn signOn;
        for (IWebServicesObserver* const observer :
             {static_cast<IWebServicesObserver*>(&base), static_cast<IWebServicesObserver*>(&third),
              static_cast<IWebServicesObserver*>(&accounts), static_cast<IWebServicesObserver*>(&signOn)})
            m_dispatcher->observers().add(observer);
        bool veto = false;
        for (int number = -1; number <= 20; ++number)
            QVERIFY(m_dispatcher->callObservers(static_cast<Event>(number), QStringLiteral("key"), &veto));
        QVERIFY(veto);
        QCOMPARE(base.heard, QStringList({"LoggedIn", "LoginRestored", "LoggedOut", "AboutToLogout", "ServerChanged:key"}));
        QCOMPARE(third.heard,
                 QStringList({"LoggedIn", "LoggedOut", "TokenRefreshed:key", "LoggingOut", "OAuth2TokenRefreshed:key",
                              "TokenAcquired:key", "TokenAvailable:key", "OAuth2Enabled:key", "OAuth2Disabled:key",
                              "OAuth2TokenAcquired:key", "OAuth2TokenAvailable:key", "OAuth2TokenDiscarded:key",
                              "TokenQueryFailed:key", "OAuth2TokenQueryFailed:key"}));
        QCOMPARE(accounts.heard, QStringList({"AccountCreated"}));
        QCOMPARE(signOn.heard, QStringList({"LoginDialogTimeoutInVqSSOServer"}));
    }

    void oneWhoThrowsOrRemovesOthersDisturbsNobodyElse() {
        Base thrower;
        Base remover;
        Base removed;
        Base last;
        thrower.reaction = [] { throw std::runtime_error("oops"); };
        remover.reaction = [&] {
            m_dispatcher->observers().remove(&removed);
            m_dispatcher->observers().remove(&remover);
        };
        for (Base* const observer : {&thrower, &remover, &removed, &last})
            m_dispatcher->observers().add(observer);
        QVERIFY(m_dispatcher->callObservers(Event::LoggedOut, {}, nullptr));
        QCOMPARE(last.heard, QStringList({"LoggedOut"}));
        QVERIFY(removed.heard.isEmpty());
        QCOMPARE(m_logger->texts(Log::Level::Error), QStringList({"An observer threw an exception in event LoggedOut: oops"}));
    }

    void oneWhoDeletesItself_data() {
        QTest::addColumn<int>("event");
        QTest::newRow("of the first interface") << static_cast<int>(Event::LoggedOut);
        QTest::newRow("of the second interface") << static_cast<int>(Event::TokenRefreshed);
        QTest::newRow("of the third interface") << static_cast<int>(Event::OAuth2Enabled);
    }

    void oneWhoDeletesItself() {
        QFETCH(int, event);
        Third last;
        alignas(Third) char place[sizeof(Third)];
        auto* const mortal = new (place) Third;
        mortal->reaction = [this, mortal, &place] {
            m_dispatcher->observers().remove(mortal);
            mortal->~Third();
            // Whoever asks the object anything now is found out.
            std::memset(place, 0, sizeof place);
        };
        m_dispatcher->observers().add(mortal);
        m_dispatcher->observers().add(&last);
        QVERIFY(m_dispatcher->callObservers(static_cast<Event>(event), QStringLiteral("key"), nullptr));
        QCOMPARE(last.heard.size(), 1);
    }

    void afterTheEndNobodyIsCalled() {
        Base first;
        Base second;
        first.reaction = [this] { m_isStopped = true; };
        m_dispatcher->observers().add(&first);
        m_dispatcher->observers().add(&second);
        QVERIFY(!m_dispatcher->callObservers(Event::LoggedOut, {}, nullptr));
        QVERIFY(second.heard.isEmpty());
    }

    void aSignOutInsideLoggedInEndsTheDelivery() {
        Base first;
        Base second;
        first.reaction = [this] { m_isLoggedIn = false; };
        m_dispatcher->observers().add(&first);
        m_dispatcher->observers().add(&second);
        QVERIFY(!m_dispatcher->callObservers(Event::LoggedIn, {}, nullptr));
        QVERIFY(second.heard.isEmpty());
        QVERIFY2(m_dispatcher->callObservers(Event::LoggedOut, {}, nullptr), "only LoggedIn needs a signed-in user");
    }

private:
    bool m_isLoggedIn = true;
    bool m_isStopped = false;
    std::shared_ptr<TestKit::RecordingLogger> m_logger;
    std::unique_ptr<EventDispatcher> m_dispatcher;
};

QTEST_GUILESS_MAIN(ObserverTest)
#include "ObserverTest.moc"
