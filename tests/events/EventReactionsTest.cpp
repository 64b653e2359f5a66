// What a process does with the events that other processes report: the parts that need no other process to be shown.

#include "Session/Operations/EventReactions.h"
#include "Events/EventIdentity.h"
#include "Events/NotificationManager.h"
#include "TestKit/SessionFixture.h"
#include "TestKit/Test.h"
#include "Values/OAuth2TokenSpecImp.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::demoKey;
using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

const auto otherKey = QStringLiteral("other-product-0002");

OAuth2TokenSpec spec(OAuth2TokenType type, const wchar_t* scope, bool legacy = false) {
    OAuth2TokenSpec made(type, scope);
    OAuth2TokenSpecImp::of(made).legacy = legacy;
    return made;
}

class RecordingListener : public INotificationListener {
public:
    void eventReceived(Event event, const EventSubject& subject) override {
        heard += event;
        last = subject;
    }
    bool finishReactions() override { return ++attempts > failures; }
    QVector<Event> heard;
    EventSubject last;
    int attempts = 0;
    int failures = 0;
};

class RecordingEvents : public ISessionEvents {
public:
    void raiseEvent(Event event, const EventSubject&) override { toOthers += event; }
    void raiseEventHere(Event, const EventSubject&) override {}
    void deliverEvent(Event event, const EventSubject&) override { here += event; }
    void forceLogout(const QString&, const QString&) override {}
    [[nodiscard]] bool isLogoutVetoed(const QString&) override { return false; }
    bool followFile(int) override {
        ++looks;
        return canLook;
    }
    bool canLook = true;
    int looks = 0;
    QVector<Event> toOthers;
    QVector<Event> here;
};

} // namespace

class EventReactionsTest : public QObject {
    Q_OBJECT

private slots:
    void onlyAKnownTokenTypeIsActedOn() {
        const TestKit::Rows row(
            [&](const QVariantMap& params, bool isKnown, const QString& expected, bool isLegacy, const QString& line) {
                TestKit::SessionFixture fixture;
                RecordingListener listener;
                NotificationManager manager({fixture.folder.path(), fixture.logger}, listener);
                manager.HandleInterProcessMessage(Event::OAuth2TokenRefreshed, params, IPCMethod::Socket);
                QCOMPARE(listener.heard.size(), 1);
                QVERIFY(line.isEmpty() || fixture.hasLogged(line));
                QCOMPARE(listener.last.consumerKey, demoKey);
                QCOMPARE(listener.last.oauth2Spec.has_value(), isKnown);
                RecordingEvents events;
                SessionState core(fixture.services(), &events);
                EventReactions(core).eventReceived(Event::OAuth2TokenRefreshed, listener.last);
                QCOMPARE(events.here, QVector<Event>{Event::OAuth2TokenRefreshed});
                if (!isKnown)
                    return;
                QCOMPARE(OAuth2TokenSpecImp::of(*listener.last.oauth2Spec).toText(), expected);
                QCOMPARE(OAuth2TokenSpecImp::of(*listener.last.oauth2Spec).legacy, isLegacy);
            });
        const auto sent = [](const OAuth2TokenSpec& made) { return toParams({demoKey, made}); };
        row("what was sent", sent(spec(JWT, L"openid data")), true, "JWT.data openid", false, "");
        row("of the older interface", sent(spec(RT, L"", true)), true, "RT.<none>", true, "");
        row("from an older process", QVariantMap{{EventParam::consumerKey, demoKey}}, true, "RT.<none>", true,
            "Received web services event OAuth2TokenRefreshed from another (probably old) process without OAuth2 token type");
        for (const QVariant& bad : {QVariant(77), QVariant(-1), QVariant(0), QVariant("JWT")})
            row(qPrintable(QStringLiteral("type %1").arg(bad.toString())),
                QVariantMap{{EventParam::consumerKey, demoKey}, {EventParam::oauth2Type, bad}}, false, "", false,
                QStringLiteral(
                    "Received web services event OAuth2TokenRefreshed from another process with invalid OAuth2 token type %1")
                    .arg(bad.toInt()));
    }

    // s: by socket, w: by file, p: time passes. An event of an older process has no id.
    void anEventWithoutAnIdIsHandledOnce() {
        const TestKit::Rows row([&](const QString& arriving, int handled) {
            TestKit::SessionFixture fixture;
            RecordingListener listener;
            qint64 now = 0;
            NotificationManager manager({fixture.folder.path(), fixture.logger, [&now] { return now; }}, listener);
            for (const QString& step : arriving.split(QLatin1Char(' '))) {
                if (step == QLatin1String("p"))
                    now += 6'000'000'000;
                else
                    manager.HandleInterProcessMessage(Event::TokenRefreshed, {{EventParam::consumerKey, step.mid(1)}},
                                                      step.startsWith(QLatin1Char('s')) ? IPCMethod::Socket : IPCMethod::Watcher);
            }
            QCOMPARE(int(listener.heard.size()), handled);
            // The watcher reports one change as two.
            for (int report = 0; report < 2; ++report)
                manager.HandleInterProcessMessage(Event::LoggedOut, {{EventParam::eventId, "sender#1"}}, IPCMethod::Watcher);
            QVERIFY(!fixture.hasLogged("event LoggedOut sent by Watcher. This was already sent by Watcher"));
        });
        row("both carriers", "sA wA", 1);
        row("the file first", "wA sA", 1);
        row("one carrier twice", "sA sA", 2);
        row("two events", "sA sB wB wA", 2);
        row("twice by both", "sA sA wA wA", 2);
        row("long after", "sA p wA", 2);
        row("another product", "sA wB", 2);
    }

    // An event that came by file only and whose predecessors are missing is held for a while, and not for that of another one
    // too.
    void anEventIsHeldForItsOwnTime() {
        TestKit::SessionFixture fixture;
        RecordingListener listener;
        NotificationManager manager({fixture.folder.path(), fixture.logger}, listener);
        const auto arrive = [&manager](const char* source) {
            const QVariantMap params{{EventParam::eventId, EventIdentity{QString::fromLatin1(source), 2}.eventId()}};
            manager.HandleInterProcessMessage(Event::TokenRefreshed, params, IPCMethod::Watcher);
        };
        arrive("first");
        QTest::qWait(400);
        arrive("second");
        // In slices: a moment in which the machine is busy costs one of them.
        for (int waitedMs = 0; waitedMs < ReorderBuffer::holdMs + 500 && listener.heard.size() < 2; waitedMs += 100)
            QTest::qWait(100);
        QCOMPARE(listener.heard.size(), 2);
    }

    // What could not be done when the event came is tried again, though nothing else happens.
    void failedReactionsAreTriedAgain() {
        TestKit::SessionFixture fixture;
        RecordingListener listener;
        listener.failures = 2;
        NotificationManager manager({fixture.folder.path(), fixture.logger}, listener);
        manager.HandleInterProcessMessage(Event::LoggedOut, {}, IPCMethod::Socket);
        QCOMPARE(listener.attempts, 1);
        QTRY_COMPARE_WITH_TIMEOUT(listener.attempts, 3, 20000);
        QTest::qWait(500);
        QCOMPARE(listener.attempts, 3);
    }

    // The file is read before an event is delivered, since the event may be the only sign of a change. When it cannot be read, it
    // is read later.
    void aChangeThatCannotBeReadYetIsReadLater() {
        const TestKit::Rows row([&](Event event, bool isRestored, bool canLook, int looks) {
            TestKit::SessionFixture fixture;
            RecordingEvents events;
            SessionState core(fixture.services(), &events);
            EventReactions reactions(core);
            if (isRestored)
                LockedState(core).setRestored();
            events.canLook = canLook;
            reactions.eventReceived(event, demoKey);
            QCOMPARE(reactions.finishReactions(), canLook || looks == 0);
            events.canLook = true;
            QVERIFY(reactions.finishReactions() && reactions.finishReactions());
            QCOMPARE(events.looks, looks);
        });
        row("a sign-in", Event::LoggedIn, true, true, 1);
        row("a sign-in that cannot be read yet", Event::LoggedIn, true, false, 3);
        row("a sign-out that cannot be read yet", Event::LoggedOut, true, false, 3);
        row("a sign-out before the restore", Event::LoggedOut, false, true, 1);
        row("any other event", Event::ServerChanged, true, true, 1);
        row("any other event, and the file cannot be read", Event::TokenQueryFailed, true, false, 3);
        row("any other event before the restore", Event::ServerChanged, false, false, 0);
    }

    // An older process does not say whether its event is of a change in the file; following the file may have notified just
    // before.
    void anObserverHearsOfASignOutOnce() {
        const TestKit::Rows row([&](const QVariantMap& params, bool isFollowed, int agoMs, int delivered) {
            TestKit::SessionFixture fixture;
            RecordingEvents events;
            qint64 now = 0;
            SessionDependencies services = fixture.services();
            services.steadyClock = [&now] { return now; };
            SessionState core(services, &events);
            if (isFollowed)
                core.notified().add(Event::LoggedOut);
            now += agoMs * 1000000LL;
            EventReactions(core).eventReceived(Event::LoggedOut, fromParams(params));
            QCOMPARE(int(events.here.size()), delivered);
        });
        const auto said = [](bool isChange) { return QVariantMap{{EventParam::isStateChange, isChange}}; };
        row("of a change", said(true), false, 0, 0);
        row("of no change", said(false), false, 0, 1);
        row("of no change, after one", said(false), true, 1, 1);
        row("unsaid, no change", QVariantMap{}, false, 0, 1);
        row("unsaid, of a change", QVariantMap{}, true, 4000, 0);
        row("unsaid, long after a change", QVariantMap{}, true, 6000, 1);
    }

    // Every client of the product follows; another product does not; nothing is sent back to the others.
    void oauth2FollowsTheOtherProcesses() {
        TestKit::SessionFixture fixture;
        RecordingEvents events;
        SessionState core(fixture.services(), &events);
        const auto add = [&core](const QString& clientKey, const QString& consumerKey) {
            core.clients().add({clientKey, 1, clientKey, "/opt/product"});
            core.clients().setConfiguration(clientKey, std::make_shared<const WebServicesConfiguration>(
                                                           TestKit::SessionFixture::configuration(consumerKey, "secret")));
        };
        add("first", demoKey);
        add("second", demoKey);
        add("stranger", otherKey);
        EventReactions reactions(core);
        const OAuth2TokenSpec wished = spec(JWT, L"data");
        const auto enabling = QStringLiteral(
            "OAuth2 enabled in another process which is using the same consumer key. Enabling it in this process.");
        reactions.eventReceived(Event::OAuth2Enabled, {"nobody", wished});
        QVERIFY(!fixture.hasLogged(enabling));
        reactions.eventReceived(Event::OAuth2Enabled, {demoKey, wished});
        QVERIFY(fixture.hasLogged(enabling));
        for (const char* const client : {"first", "second"})
            QCOMPARE(core.clients().oauth2(QLatin1String(client)).defaultSpec(), wished);
        QVERIFY(!core.clients().oauth2("stranger").isEnabled);
        fixture.logger->clear();
        reactions.eventReceived(Event::OAuth2Enabled, {demoKey, wished});
        QVERIFY(!fixture.hasLogged(enabling));

        core.clients().enableOAuth2("stranger", wished);
        reactions.eventReceived(Event::OAuth2Disabled, demoKey);
        QVERIFY(fixture.hasLogged(QStringLiteral(
            "OAuth2 disabled in another process which is using the same consumer key. Disabling it in this process.")));
        QVERIFY(!core.clients().isOAuth2Used(demoKey, Production));
        QVERIFY(core.clients().isOAuth2Used(otherKey, Production));
        QCOMPARE(events.here,
                 QVector<Event>({Event::OAuth2Enabled, Event::OAuth2Enabled, Event::OAuth2Enabled, Event::OAuth2Disabled}));
        QVERIFY(events.toOthers.isEmpty());
    }
};

QTEST_GUILESS_MAIN(EventReactionsTest)
#include "EventReactionsTest.moc"
