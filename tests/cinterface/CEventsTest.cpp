// Registrations of the C interface: who is called on which thread, how a registration ends, and what is released.

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/Test.h"

#include <QSemaphore>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesPrivate.h>
#include <VqWebServices/vqws.h>

using namespace Velquor;
using namespace Velquor::WebServices;

namespace {

using Event = WebServicesPrivateCore::WebServicesEvent;

/// A registration as a host sees it.
struct Listener {
    std::vector<int> heard;
    QByteArray key;
    uint64_t thread = 0;
    int released = 0;
    int32_t answer = 0;
    uint64_t id = 0;
    std::function<void()> reaction;

    int32_t observe() { return vqws_observe(&Listener::hear, this, &Listener::release, &id); }

    static int32_t VQWS_CALL hear(const vqws_event* event, void* user) {
        auto& self = *static_cast<Listener*>(user);
        self.heard.push_back(event->size == sizeof *event ? event->kind : -1);
        self.key = QByteArray(event->key.data, int(event->key.length));
        self.thread = event->thread_id;
        const int releasedBefore = self.released;
        if (self.reaction)
            self.reaction();
        // What belongs to a call must not go before its end.
        return self.released == releasedBefore ? self.answer : -77;
    }
    static void VQWS_CALL release(void* user) { ++static_cast<Listener*>(user)->released; }
};

void raiseElsewhere(Event event) {
    std::thread([event] { WebServicesPrivate::RaiseEvent("demo-product-0001", event, false); }).join();
}

std::atomic<int> wakes{0};
std::mutex linesMutex;
QByteArrayList lines;
std::atomic<int> resultInLog{VQWS_OK};

void VQWS_CALL takeLine(int32_t level, const char* text, size_t length, void*) {
    const std::lock_guard<std::mutex> lock(linesMutex);
    lines += QByteArray::number(level) + ' ' + QByteArray(text, int(length));
    resultInLog = vqws_disable_oauth2(nullptr, 0);
}

bool hasLine(const QByteArray& line) {
    const std::lock_guard<std::mutex> lock(linesMutex);
    return lines.contains(line);
}

} // namespace

class CEventsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_service.start());
        const QByteArray folder = m_service.folder().toUtf8();
        QCOMPARE(vqws_set_support_paths(folder.constData(), VQWS_Z), VQWS_OK);
        QCOMPARE(Listener().observe(), VQWS_STATE);
        char file[4096];
        size_t length = 0;
        QCOMPARE(vqws_get_login_state_file(file, sizeof file, &length), VQWS_OK);
        QFile::remove(QString::fromUtf8(file));
        vqws_init_options options{};
        options.size = sizeof options;
        options.wake = [](void* user) { ++*static_cast<std::atomic<int>*>(user); };
        options.wake_user = &wakes;
        QCOMPARE(vqws_init(&options), VQWS_OK);
    }

    void eventsWaitForTheEventThread() {
        Listener listener;
        QCOMPARE(vqws_observe(nullptr, &listener, &Listener::release, &listener.id), VQWS_ARGUMENT);
        QCOMPARE(listener.released, 0);
        QCOMPARE(listener.observe(), VQWS_OK);
        QCOMPARE(vqws_dispatch(), VQWS_OK);
        listener.heard.clear();
        const int before = wakes;
        raiseElsewhere(Event::TokenRefreshed);
        raiseElsewhere(Event::AccountCreated);
        raiseElsewhere(Event::LoginDialogTimeoutInVqSSOServer);
        QCOMPARE(wakes - before, 1);
        QVERIFY(listener.heard.empty());
        QCOMPARE(vqws_dispatch(), VQWS_OK);
        QCOMPARE(listener.heard,
                 (std::vector<int>{VQWS_EVENT_TOKEN_REFRESHED, VQWS_EVENT_ACCOUNT_CREATED, VQWS_EVENT_LOGIN_DIALOG_TIMEOUT}));
        QCOMPARE(listener.key, QByteArray("demo-product-0001"));
        QCOMPARE(listener.thread, uint64_t(reinterpret_cast<uintptr_t>(QThread::currentThreadId())));
        raiseElsewhere(Event::TokenRefreshed);
        QCOMPARE(wakes - before, 2);
        QCOMPARE(vqws_unobserve(listener.id), VQWS_OK);
        QCOMPARE(listener.released, 1);
        QCOMPARE(vqws_unobserve(listener.id), VQWS_NOT_FOUND);
        QCOMPARE(vqws_dispatch(), VQWS_OK);
        QVERIFY(listener.heard.size() == 3 && listener.released == 1);
    }

    // Also that of a later one, which was not called yet.
    void aCallEndsItsOwnRegistration() {
        Listener first;
        Listener second;
        QCOMPARE(first.observe(), VQWS_OK);
        QCOMPARE(second.observe(), VQWS_OK);
        QVERIFY(second.id > first.id);
        first.reaction = [&] {
            QCOMPARE(vqws_unobserve(second.id), VQWS_OK);
            QCOMPARE(second.released, 1);
            QCOMPARE(vqws_unobserve(first.id), VQWS_OK);
            // An event inside the event.
            WebServicesPrivate::RaiseEvent("demo-product-0001", Event::TokenAvailable, false);
            QCOMPARE(first.released, 0);
        };
        raiseElsewhere(Event::TokenRefreshed);
        QCOMPARE(vqws_dispatch(), VQWS_OK);
        QVERIFY(first.heard.size() == 1 && first.released == 1);
        QVERIFY(second.heard.empty() && second.released == 1);
    }

    void anotherThreadWaitsForTheRunningCall() {
        Listener listener;
        QCOMPARE(listener.observe(), VQWS_OK);
        std::atomic<bool> isEnded{false};
        bool endedInside = true;
        QSemaphore entered;
        std::thread other;
        listener.reaction = [&] {
            entered.release();
            QThread::msleep(300);
            endedInside = isEnded;
        };
        other = std::thread([&] {
            entered.acquire();
            static_cast<void>(vqws_unobserve(listener.id));
            isEnded = true;
        });
        raiseElsewhere(Event::TokenRefreshed);
        QCOMPARE(vqws_dispatch(), VQWS_OK);
        other.join();
        QVERIFY(!endedInside);
        QCOMPARE(listener.released, 1);
    }

    void aVetoKeepsTheUserSignedIn() {
        vqws_config config{};
        config.size = sizeof config;
        config.consumer_key = {"demo-product-0001", VQWS_Z};
        config.consumer_secret = {"demo-secret-0001", VQWS_Z};
        QCOMPARE(vqws_set_config(nullptr, 0, &config), VQWS_OK);
        QCOMPARE(vqws_restore_login(nullptr, 0), VQWS_OK);
        pendSignIn();
        Listener agrees;
        Listener refuses;
        refuses.answer = 5;
        QVERIFY(refuses.observe() == VQWS_OK && agrees.observe() == VQWS_OK);
        // The answer to any other event has no effect.
        QCOMPARE(vqws_complete_login(nullptr, 0, nullptr, 0), VQWS_OK);
        QCOMPARE(vqws_logout(nullptr, 0), VQWS_VETOED);
        QVERIFY(WebServicesManager::GetInstance()->IsLoggedIn());
        QVERIFY(refuses.heard.front() == VQWS_EVENT_LOGGED_IN && refuses.heard.back() == VQWS_EVENT_ABOUT_TO_LOGOUT);
        QCOMPARE(agrees.heard, refuses.heard);
        QCOMPARE(vqws_unobserve(refuses.id), VQWS_OK);
        QCOMPARE(vqws_logout(nullptr, 0), VQWS_OK);
        QCOMPARE(agrees.heard.back(), VQWS_EVENT_LOGGED_OUT);
        QCOMPARE(vqws_unobserve(agrees.id), VQWS_OK);
    }

    void aUserWhomACallSignsOutIsNotToldFurther() {
        Listener first;
        Listener second;
        QVERIFY(first.observe() == VQWS_OK && second.observe() == VQWS_OK);
        first.reaction = [&] {
            if (first.heard.back() == VQWS_EVENT_LOGGED_IN)
                QCOMPARE(vqws_complete_logout(nullptr, 0), VQWS_OK);
        };
        pendSignIn();
        QCOMPARE(vqws_complete_login(nullptr, 0, nullptr, 0), VQWS_OK);
        QVERIFY(std::count(first.heard.begin(), first.heard.end(), VQWS_EVENT_LOGGED_IN) == 1);
        QVERIFY(std::count(second.heard.begin(), second.heard.end(), VQWS_EVENT_LOGGED_IN) == 0);
        QVERIFY(vqws_unobserve(first.id) == VQWS_OK && vqws_unobserve(second.id) == VQWS_OK);
    }

    void theLogIsHandedOut() {
        uint64_t id = 0;
        QCOMPARE(vqws_observe_log(&takeLine, nullptr, nullptr, nullptr), VQWS_ARGUMENT);
        QCOMPARE(vqws_observe_log(&takeLine, nullptr, nullptr, &id), VQWS_OK);
        QCOMPARE(vqws_disable_oauth2("nobody\n", VQWS_Z), VQWS_UNKNOWN_CLIENT);
        QTRY_VERIFY(hasLine("40000 Client info not found for client key nobody\\n."));
        QCOMPARE(resultInLog.load(), VQWS_STATE);
        QCOMPARE(vqws_unobserve(id), VQWS_OK);
        QCOMPARE(vqws_disable_oauth2("nobody else", VQWS_Z), VQWS_UNKNOWN_CLIENT);
        QTest::qWait(50);
        QVERIFY(!hasLine("40000 Client info not found for client key nobody else."));
        uint64_t drops = 77;
        QCOMPARE(vqws_get_log_drops(&drops), VQWS_OK);
        QCOMPARE(drops, uint64_t(0));
    }

    void theEndReleasesAll() {
        Listener listener;
        QCOMPARE(listener.observe(), VQWS_OK);
        QCOMPARE(vqws_uninit(), VQWS_OK);
        QCOMPARE(listener.released, 1);
        QCOMPARE(vqws_unobserve(listener.id), VQWS_NOT_FOUND);
        QCOMPARE(vqws_dispatch(), VQWS_STATE);
        const int before = wakes;
        QVERIFY(WebServicesManager::Initialize());
        raiseElsewhere(Event::TokenRefreshed);
        QCoreApplication::sendPostedEvents();
        QVERIFY(WebServicesManager::Uninitialize());
        QVERIFY(wakes == before && listener.heard.empty());
    }

private:
    void pendSignIn() {
        char url[8192];
        size_t length = 0;
        QCOMPARE(vqws_initiate_login(nullptr, 0, nullptr, 0, url, sizeof url, &length), VQWS_OK);
        QVERIFY(m_service.approve(url));
    }

    TestKit::AccountServiceProcess m_service;
};

QTEST_GUILESS_MAIN(CEventsTest)
#include "CEventsTest.moc"
