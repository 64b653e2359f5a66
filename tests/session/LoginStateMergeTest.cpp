// What a process and the login state file hold after they have met: the rules, without a file.

#include "Session/Store/LoginStateMerge.h"
#include "TestKit/Test.h"

using namespace Velquor;
using namespace Velquor::WebServices::Internal;

namespace {

const auto key = QStringLiteral("product");

QDateTime at(qint64 seconds) {
    return seconds < 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

StoredProduct product(const QByteArray& token, const QByteArray& oauth2 = {}, const QString& productKey = key) {
    StoredProduct made;
    made.productKey = productKey;
    if (!token.isEmpty())
        made.tokens = {token, "secret", "handle", at(500)};
    if (!oauth2.isEmpty())
        made.oauth2Tokens += OAuth2TokenData{Velquor::WebServices::RT, {}, oauth2, at(500)};
    return made;
}

LoginState signedOut(qint64 logout = -1, int server = 0) {
    LoginState state;
    state.hasSettings = true;
    state.currentServer = server;
    state.logoutDate = at(logout);
    return state;
}

LoginState signIn(const QString& user, qint64 seconds, qint64 logout = -1) {
    LoginState state = signedOut(logout);
    state.hasSignIn = true;
    state.signInServer = 0;
    state.user.clientId = "encrypted";
    state.user.userId = state.user.userName = user;
    state.user.loginDate = at(seconds);
    const QByteArray token = "token of " + user.toUtf8() + ' ' + QByteArray::number(seconds);
    state.products = {product(token), product(token, {}, QStringLiteral("another"))};
    return state;
}

LoginState startedAnew(LoginState state) {
    state.created = QStringLiteral("another document");
    return state;
}

HeldLogin holding(const LoginState& state, const LoginState& seen) {
    HeldLogin held;
    held.state = state;
    held.seen = seen;
    held.isLoggedIn = state.hasSignIn;
    return held;
}

HeldLogin saved(const LoginState& state) {
    return holding(state, state);
}

HeldLogin unsaved(const LoginState& state) {
    return holding(state, signedOut());
}

HeldLogin ended(const LoginState& state) {
    HeldLogin held = holding(signedOut(state.user.loginDate.toSecsSinceEpoch()), state);
    held.lastEnded = state.user;
    held.isSignOut = true;
    return held;
}

QString userOf(const LoginState& state) {
    return state.hasSignIn ? QStringLiteral("%1 %2").arg(state.user.userId).arg(state.user.loginDate.toSecsSinceEpoch())
                           : QString();
}

} // namespace

class LoginStateMergeTest : public QObject {
    Q_OBJECT

private slots:
    // The last two values: the user in memory and in the file afterwards, with the date of the sign-in.
    void theLaterSignInOrSignOutCounts() {
        const TestKit::Rows row([&](const HeldLogin& held, const LoginState& file, LoginVerdict verdict, const QString& memory,
                                    const QString& inFile) {
            const MergedLogin merged = mergeLogin(held, file);
            QCOMPARE(merged.verdict, verdict);
            QCOMPARE(userOf(merged.memory), memory);
            QCOMPARE(userOf(merged.file), inFile);
            // No token stands under another sign-in: when the server ended that one, the token would end this one too.
            for (const LoginState& side : {merged.memory, merged.file}) {
                for (const StoredProduct& stored : side.products)
                    QVERIFY(!side.hasSignIn || stored.tokens.accessToken == "token of " + userOf(side).toUtf8());
            }
            // A sign-out is never dated back, nor ahead of a sign-in that stays.
            QVERIFY(!merged.file.hasSignIn || !(merged.file.logoutDate > merged.file.user.loginDate));
        });
        const LoginState ada = signIn("ada", 100);
        row("nobody anywhere", saved(signedOut()), signedOut(), LoginVerdict::NoUser, "", "");
        row("somebody in the file", saved(signedOut()), ada, LoginVerdict::NoUser, "ada 100", "ada 100");
        row("the same sign-in", saved(ada), ada, LoginVerdict::Same, "ada 100", "ada 100");
        row("not written yet", unsaved(ada), signedOut(), LoginVerdict::Missing, "ada 100", "ada 100");
        row("signed out before this sign-in", unsaved(ada), signedOut(99), LoginVerdict::Missing, "ada 100", "ada 100");
        row("signed out in the same second", saved(ada), signedOut(100), LoginVerdict::SignedOut, "", "");
        row("signed out later", unsaved(ada), signedOut(101), LoginVerdict::SignedOut, "", "");
        row("removed without a date", saved(ada), signedOut(), LoginVerdict::SignedOut, "", "");
        row("lost with its document", saved(ada), startedAnew(signedOut()), LoginVerdict::Missing, "ada 100", "ada 100");
        row("another user later", saved(ada), signIn("bob", 101), LoginVerdict::Replaced, "bob 101", "bob 101");
        row("another user in the same second", saved(ada), signIn("bob", 100), LoginVerdict::Replaced, "bob 100", "bob 100");
        row("another user earlier", unsaved(ada), signIn("bob", 99), LoginVerdict::Older, "ada 100", "ada 100");
        HeldLogin other = unsaved(signIn("ada", 101));
        other.state.products.removeLast();
        row("the same user earlier", other, ada, LoginVerdict::Older, "ada 101", "ada 101");
        row("another user, nobody knows when", saved(ada), signIn("bob", -1), LoginVerdict::Older, "ada 100", "ada 100");
        row("the same user again", saved(ada), signIn("ada", 101), LoginVerdict::Renewed, "ada 101", "ada 101");
        row("out, and the same user again", saved(ada), signIn("ada", 102, 101), LoginVerdict::Replaced, "ada 102", "ada 102");
        row("ended here, still in the file", ended(ada), ada, LoginVerdict::NoUser, "", "");
        row("ended here, an earlier one in the file", ended(ada), signIn("bob", 99), LoginVerdict::NoUser, "", "");
        row("ended here, a later one in the file", ended(ada), signIn("bob", 101), LoginVerdict::NoUser, "bob 101", "bob 101");
        HeldLogin again = unsaved(signIn("ada", 100));
        again.isNewSignIn = true;
        again.state.products = {product("token of ada 901")};
        row("a new sign-in after one of a clock ahead", again, signIn("bob", 900), LoginVerdict::Older, "ada 901", "ada 901");
        row("a new sign-in after a sign-out of a clock ahead", again, signedOut(900), LoginVerdict::Missing, "ada 901",
            "ada 901");
    }

    // What the server gave out last counts, whenever it ends. One rule for tokens of both kinds.
    void theTokenObtainedLastCounts() {
        const TestKit::Rows row(
            [&](const QByteArray& held, const QByteArray& seen, const QByteArray& file, bool isFresh, const QByteArray& kept) {
                const auto state = [](const QByteArray& token, const QByteArray& oauth2) {
                    LoginState made = signIn("ada", 100);
                    made.products = {product(token, oauth2)};
                    return made;
                };
                const MergedLogin first = [&] {
                    HeldLogin own = holding(state(held, {}), state(seen, {}));
                    own.freshProduct = isFresh ? key : QString();
                    return mergeLogin(own, state(file, {}));
                }();
                HeldLogin own = holding(state("x", held), state("x", seen));
                own.freshProduct = key;
                if (isFresh)
                    own.freshOAuth2 = own.state.products.first().oauth2Tokens.first();
                else
                    own.freshProduct.clear();
                const MergedLogin second = mergeLogin(own, state("x", file));
                for (const LoginState* const side : {&first.memory, &first.file})
                    QCOMPARE(side->product(key)->tokens.accessToken, kept);
                for (const LoginState* const side : {&second.memory, &second.file})
                    QCOMPARE(side->product(key)->oauth2Tokens.value(0).token, kept);
            });
        row("nothing new", "a", "a", "a", false, "a");
        row("only in the file", "", "", "b", false, "b");
        row("only here", "a", "", "", false, "a");
        row("gone from the file", "a", "a", "", false, "a");
        row("another process renewed it", "a", "a", "b", false, "b");
        row("renewed here and not written", "b", "a", "a", false, "b");
        row("renewed here, then there", "b", "a", "c", false, "c");
        row("renewed there, then here", "c", "a", "b", true, "c");
        row("both have it", "b", "a", "b", false, "b");
    }

    // A refresh renews the session too. A process that saves something else must not put the earlier date back.
    void theSessionThatWasRenewedElsewhereStaysRenewed() {
        const LoginState before = signIn("ada", 100);
        LoginState renewed = before;
        renewed.user.sessionExpiryDate = at(900);
        QCOMPARE(mergeLogin(saved(before), renewed).file.user.sessionExpiryDate, at(900));
        QCOMPARE(mergeLogin(saved(before), renewed).memory.user.sessionExpiryDate, at(900));
        QCOMPARE(mergeLogin(holding(renewed, before), before).file.user.sessionExpiryDate, at(900));
        QCOMPARE(mergeLogin(holding(renewed, before), before).memory.user.sessionExpiryDate, at(900));
        // What else was changed here does not bring the earlier date back.
        LoginState moved = before;
        moved.user.machineAddress = "a new adapter";
        QCOMPARE(mergeLogin(holding(moved, before), renewed).file.user.sessionExpiryDate, at(900));
        QCOMPARE(mergeLogin(holding(moved, before), renewed).file.user.machineAddress, QByteArray("a new adapter"));
    }

    void theServerThatWasChosenLastCounts() {
        const TestKit::Rows row([&](const HeldLogin& held, const LoginState& file, int memory, int inFile) {
            const MergedLogin merged = mergeLogin(held, file);
            QCOMPARE(merged.memory.currentServer.value_or(-2), memory);
            QCOMPARE(merged.file.currentServer.value_or(-2), inFile);
            // A choice that was not taken is not undone by a later save.
            HeldLogin next = held;
            next.seen = merged.seen;
            next.state.currentServer = merged.memory.currentServer;
            QCOMPARE(mergeLogin(next, file).file.currentServer.value_or(-2), inFile);
        });
        const auto onServer = [](int server, const LoginState& seen) { return holding(signedOut(-1, server), seen); };
        row("nothing new", onServer(1, signedOut(-1, 1)), signedOut(-1, 1), 1, 1);
        row("chosen in another process", onServer(0, signedOut(-1, 0)), signedOut(-1, 1), 1, 1);
        row("never read", onServer(0, {}), signedOut(-1, 2), 2, 2);
        HeldLogin chosen = onServer(1, signedOut(-1, 0));
        row("chosen here", chosen, signedOut(-1, 0), 1, 1);
        chosen.isServerChosen = true;
        chosen.mayTakeServer = false;
        row("chosen in both", chosen, signedOut(-1, 2), 1, 1);
        HeldLogin waiting = onServer(0, signedOut(-1, 0));
        waiting.mayTakeServer = false;
        row("while a sign-in waits for the browser", waiting, signedOut(-1, 1), 0, 1);
        row(
            "while a user stays signed in", saved(signIn("ada", 100)),
            [] {
                LoginState file = signIn("ada", 100);
                file.currentServer = 1;
                return file;
            }(),
            0, 1);
    }

    // A write leaves to be taken what another process wrote meanwhile.
    void whatWasNotTakenIsStillNew() {
        const LoginState before = signIn("ada", 100);
        LoginState file = before;
        file.products = {product("renewed elsewhere"), product("of another", {}, "another")};
        HeldLogin held = saved(before);
        held.state.user.loginCookies = "new here";
        const MergedLogin merged = mergeLogin(held, file);
        held.seen = seenAfterWriting(held, merged.file);
        QCOMPARE(held.seen.user.loginCookies, QByteArray("new here"));
        const MergedLogin next = mergeLogin(held, merged.file);
        QCOMPARE(next.memory.product(key)->tokens.accessToken, QByteArray("renewed elsewhere"));
        QVERIFY(next.memory.product("another"));
    }
};

QTEST_GUILESS_MAIN(LoginStateMergeTest)
#include "LoginStateMergeTest.moc"
