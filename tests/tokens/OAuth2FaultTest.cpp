// OAuth2 tokens when things come in between: a token from elsewhere during the retries, a state that is busy, an end of OAuth2.

#include "Session/Products/ClientInfo.h"
#include "Tokens/OAuth2/OAuth2TokenFetcher.h"
#include "Tokens/OAuth2/OAuth2TokenRefresher.h"
#include "Tokens/OAuth2/RetrySchedules.h"
#include "Tokens/Refresh/TokenRefresher.h"
#include "VqUtil/Locks/ProcessGuard.h"
#include "WorkerFixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::answer;
using TestKit::minute;
using TestKit::second;

namespace {

const auto unavailable = QByteArray("503 Service Unavailable");

QByteArray goodReply() {
    return answer("200 OK", R"({"access_token": "new-oauth2-token", "expires_in": 3600})");
}

} // namespace

class OAuth2FaultTest : public TestKit::WorkerFixture {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        RetrySchedules::instance().set({5 * minute, {{5 * minute, minute}}});
        const auto digest = QStringLiteral("digest");
        m_controller = std::make_unique<RefreshController>(digest, m_owner->productKey(), m_owner->services());
        m_slot = std::make_unique<OAuth2TokenSlot>(*m_owner, OAuth2TokenSpec(RT, L""));
        m_fetcher = std::make_unique<OAuth2TokenFetcher>(*m_owner, *m_slot, m_flags, digest);
        m_tokenRefresher =
            std::make_unique<TokenRefresher>(*m_owner, *m_controller, m_flags, std::make_shared<RunState>(),
                                             m_owner->services().claims->makePendingRefresh(digest, m_fixture->folder.path()));
        m_refresher = std::make_unique<OAuth2TokenRefresher>(*m_owner, *m_slot, m_flags, *m_controller, *m_tokenRefresher,
                                                             m_fetcher->runState());
        connect(m_slot.get(), &OAuth2TokenSlot::OAuth2TokenAvailable, m_refresher.get(),
                &OAuth2TokenRefresher::OAuth2TokenAvailable, Qt::QueuedConnection);
    }

    void cleanup() {
        m_refresher.reset();
        m_tokenRefresher.reset();
        m_fetcher.reset();
        m_slot.reset();
        RetrySchedules::instance().clear();
    }

    // A single failure hours later must not find the period of the old retries at its end, and sign the user out.
    void aTokenFromElsewhereEndsTheRetries() {
        const TestKit::Rows row(this, [&](bool duringATry) {
            m_owner->held.expiryDate = m_owner->clock.addDays(1);
            m_slot->replaceToken(tokenNamed("first", 200));
            QTRY_COMPARE(interval(*m_refresher), second);
            play(answer(unavailable, ""), true, 100);
            fire(*m_refresher);
            if (!duringATry)
                expectRetryIn(minute);
            m_slot->adopt(tokenNamed("second", 3600));
            waitForEnd(*m_refresher);
            QTRY_COMPARE(interval(*m_refresher), 10 * minute);
            QVERIFY(m_fixture->hasLogged("Ending OAuth2 token refresh retry process"));
            fire(*m_refresher, 60 * minute);
            expectRetryIn(minute);
            QCOMPARE(m_owner->forcedLogouts, 0);
            fire(*m_refresher, 10 * minute);
            waitForEnd(*m_refresher);
            QCOMPARE(m_owner->forcedLogouts, 1);
            QVERIFY(m_fixture->hasLogged("Permanently failed to refresh OAuth2 token after "));
            QVERIFY(m_fixture->hasLogged("OAuth2 token refresh timer started with interval 10 min"));
        });
        row("between two tries", false);
        row("during a try", true);
    }

    void aTokenIsStoredLaterUnlessOAuth2WasDisabled() {
        const TestKit::Rows row(this, [&](bool isRefresh, bool isDisabled, int expected) {
            TokenWorker& worker = isRefresh ? static_cast<TokenWorker&>(*m_refresher) : *m_fetcher;
            play(goodReply(), true, 100);
            if (isRefresh) {
                m_slot->replaceToken(tokenNamed("first", 200));
                QTRY_COMPARE(interval(*m_refresher), second);
                fire(*m_refresher);
            } else {
                m_fetcher->TokenAcquired();
            }
            QTRY_COMPARE(requests(), 1);
            if (isDisabled) {
                m_owner->oauth2Enabled = false;
                m_slot->DiscardToken();
            } else {
                m_owner->storeResult = StoreResult::Busy;
            }
            waitForEnd(worker);
            QCoreApplication::processEvents();
            QCOMPARE(interval(worker), expected);
            QCOMPARE(oauth2Token(), isRefresh && !isDisabled ? QStringLiteral("first") : QString());
            QCOMPARE(m_fixture->hasLogged("OAuth2 access token discarded"), isDisabled);
            if (isDisabled)
                return;
            m_owner->storeResult = StoreResult::Stored;
            fire(worker);
            waitForEnd(worker);
            QCOMPARE(oauth2Token(), QStringLiteral("new-oauth2-token"));
        });
        row("query, busy", false, false, 30 * second);
        row("query, disabled meanwhile", false, true, -1);
        row("refresh, busy", true, false, minute);
        row("refresh, disabled meanwhile", true, true, -1);
    }

    void theEndIsToldWhenTheNextTryIsKnown() {
        const TestKit::Rows row(this, [&](int worker, const QByteArray& reply, const QStringList& texts) {
            play(reply);
            m_owner->held.expiryDate = m_owner->clock.addSecs(worker == 0 ? 200 : 7200);
            TokenWorker* const workers[] = {m_tokenRefresher.get(), m_refresher.get(), m_fetcher.get()};
            if (worker == 1)
                m_slot->replaceToken(tokenNamed("first", 200));
            if (worker == 2)
                m_fetcher->TokenAcquired();
            else
                QCOMPARE(static_cast<RefreshWorker*>(workers[worker])->ask(false, RefreshWorker::Reason::Requested),
                         RefreshWorker::Answer::Started);
            waitForEnd(*workers[worker]);
            const QStringList logged = m_fixture->logger->texts();
            QVERIFY(!m_fixture->hasLogged("secret-1"));
            int from = 0;
            for (const QString& text : qAsConst(texts)) {
                const QStringList found = logged.mid(from).filter(text);
                QVERIFY2(!found.isEmpty(), qPrintable(text + "\n\n" + logged.join('\n')));
                from = logged.indexOf(found.first(), from);
            }
        });
        // What the server says about it is logged, but no secret.
        const QByteArray busy = answer(unavailable, R"({"error_description":"too busy","access_token":"secret-1"})",
                                       "Content-Type: application/json\r\n");
        const auto refreshEnd = QStringLiteral("Lock released for token refresh|TokenRefreshInProgress flag set to false|"
                                               "Emitting RefreshFinishedInternal signal for token refresh");
        const auto oauth2End = QStringLiteral("OAuth2TokenRefreshInProgress flag set to false|Lock released for OAuth2 token|"
                                              "Emitting RefreshFinishedInternal signal for OAuth2");
        const auto order = [](const QString& first, const QString& last) { return (first + '|' + last).split('|'); };
        row("refresh", 0, TestKit::goodTokenReply(),
            order("Token refreshed successfully.|Token refresh timer started with interval 10 min", refreshEnd));
        row("failed refresh", 0, busy,
            order("too busy|Will retry token refresh after|timer started with interval 1 min", refreshEnd));
        row("OAuth2 refresh", 1, goodReply(),
            order("OAuth2 token refreshed successfully.|OAuth2 token refresh timer started with interval 10 min", oauth2End));
        row("failed OAuth2 refresh", 1, busy,
            order("too busy|Next retry: in 1 min|timer started with interval 1 min", oauth2End));
        row("failed OAuth2 query", 2, busy,
            order("OAuth2 token query timer stopped|Starting asynchronous OAuth2 token query|too busy|Will retry after 30 s",
                  "OAuth2 token query timer started with|OAuth2TokenQueryInProgressInThisProcess flag set to false"));
    }

    // Both kinds of one process: one does not take the other for another process.
    void theOlderInterfaceHasAQueryOfItsOwn() {
        OAuth2TokenSlot older(*m_owner, OAuth2Settings::legacySpec());
        OAuth2TokenFetcher fetcher(*m_owner, older, m_flags, "digest");
        play(goodReply(), true, 100);
        m_fetcher->TokenAcquired();
        fetcher.TokenAcquired();
        waitForEnd(*m_fetcher);
        waitForEnd(fetcher);
        QVERIFY(older.token().isPresent());
        QVERIFY(!m_fixture->hasLogged("in another process"));
        QVERIFY(older.queryFlag() != m_slot->queryFlag());
    }

    // A host has asked for a new token, and the server was busy. A refusal of the retry would sign the user out.
    void aGoodTokenIsNotRefreshedAgain() {
        m_slot->replaceToken(tokenNamed("good", 3600));
        QTRY_COMPARE(interval(*m_refresher), 10 * minute);
        play(answer(unavailable, ""));
        QCOMPARE(m_refresher->ask(false, RefreshWorker::Reason::Requested), RefreshWorker::Answer::Started);
        expectRetryIn(minute);
        play(answer("400 Bad Request", ""));
        fire(*m_refresher);
        waitForEnd(*m_refresher);
        QVERIFY(
            m_fixture->hasLogged("OAuth2 token refresh timer message: OAuth2 token expires in 59 min. No need to refresh now"));
        QCOMPARE(requests(), 1);
        QCOMPARE(m_owner->forcedLogouts, 0);
        QCOMPARE(interval(*m_refresher), 10 * minute);
        QVERIFY(m_fixture->hasLogged("Ending OAuth2 token refresh retry process"));
        m_owner->loginExpired = true;
        fire(*m_refresher);
        QVERIFY(m_fixture->hasLogged("refresh timer message: Login session has expired. Cannot refresh token"));
    }

    void aSecondSignInDuringTheQueryIsServed() {
        play(goodReply(), true, 150);
        m_fetcher->TokenAcquired();
        QTRY_COMPARE(requests(), 1);
        m_owner->signIns = 2;
        m_fetcher->TokenAcquired();
        waitForEnd(*m_fetcher);
        QCOMPARE(oauth2Token(), QStringLiteral("new-oauth2-token"));
        QCOMPARE(requests(), 2);
    }

    // A query for another kind of token is not waited for. A process with the flag alone, without the lock, is believed for a
    // while.
    void onlyAQueryOfTheSameKindIsWaitedFor() {
        const TestKit::Rows row(this, [&](const QString& flag, bool isOurs) {
            m_flags.elsewhere = {flag};
            play(goodReply());
            m_fetcher->TokenAcquired();
            waitForEnd(*m_fetcher);
            QCOMPARE(requests(), isOurs ? 0 : 1);
            QCOMPARE(m_fixture->hasLogged("OAuth2 token query is in progress in another process. Waiting for it to finish."),
                     isOurs);
            QCOMPARE(interval(*m_fetcher), isOurs ? 30 * second : -1);
        });
        row("none", {}, false);
        row("of another kind", "OAuth2TokenQueryInProgress_jwt.openid", false);
        row("of this kind", "OAuth2TokenQueryInProgress_rt.<none>", true);
    }

    // Whoever reads the file first, a host that waits for the token receives its event.
    void aTokenOfAnotherProcessIsAnnouncedOnce() {
        const TestKit::Rows row(this, [&](bool isReadFirst, bool isReported) {
            m_owner->setTimeout(5000);
            Util::ProcessGuard other(m_slot->queryLockName("digest"), m_fixture->folder.path());
            QCOMPARE(other.acquire(0), Util::ProcessGuard::Result::Acquired);
            m_fetcher->TokenAcquired();
            QTRY_VERIFY(m_fixture->hasLogged("Skipping query in this process"));
            const auto adopt = [this, theirs = tokenNamed("theirs", 3600)] { m_slot->adopt(theirs); };
            if (isReadFirst)
                adopt();
            else
                m_owner->onCatchUp = adopt;
            if (isReported)
                m_fetcher->OAuth2TokenAcquiredInAnotherProcess();
            other.release();
            waitForEnd(*m_fetcher);
            if (!isReported)
                m_fetcher->OAuth2TokenAcquiredInAnotherProcess();
            QCOMPARE(m_owner->raised.count(WebServicesPrivateCore::WebServicesEvent::OAuth2TokenAvailable), 1);
            QCOMPARE(requests(), 0);
        });
        row("this process finds it", false, false);
        row("another thread has read the file", true, false);
        row("and the event of the other process has arrived", true, true);
    }

private:
    [[nodiscard]] OAuth2TokenData tokenNamed(const char* name, int seconds) const {
        return {RT, QString(), m_owner->seal(name), m_owner->clock.addSecs(seconds)};
    }
    [[nodiscard]] QString oauth2Token() const { return m_fixture->cryptor->decrypt(m_slot->token().token).toText(); }
    void expectRetryIn(int milliseconds) {
        waitForEnd(*m_refresher);
        QCOMPARE(interval(*m_refresher), milliseconds);
    }

    std::unique_ptr<RefreshController> m_controller;
    std::unique_ptr<OAuth2TokenSlot> m_slot;
    std::unique_ptr<TokenRefresher> m_tokenRefresher;
    std::unique_ptr<OAuth2TokenFetcher> m_fetcher;
    std::unique_ptr<OAuth2TokenRefresher> m_refresher;
};

QTEST_GUILESS_MAIN(OAuth2FaultTest)
#include "OAuth2FaultTest.moc"
