#include "Contract/ContractCheck.h"

#include "Texts.h"

#include <QHostAddress>
#include <utility>

namespace Vqws {

namespace {

using namespace Status;

constexpr qint64 oneDay = 86400;
constexpr qint64 shortestLifetime = 300;
constexpr qint64 comfortableLifetime = 900;
constexpr qint64 goodAnswerMs = 2000;
constexpr int askEveryMs = 1000;
constexpr int asksAfterTheEnd = 5;

const auto accountServer = "AccountServerUrl";
const auto accessToken = "AccessTokenEndPoint";

const QVector<QByteArray>& tokenNames() {
    static const QVector<QByteArray> names{"oauth_token", "oauth_token_secret", "oauth_session_handle", "oauth_expires_in"};
    return names;
}

} // namespace

ContractCheck::ContractCheck(ContractServer& server, ContractReport& report, const ClientKeys& keys, PageVisit visit)
    : m_server(server)
    , m_report(report)
    , m_visit(std::move(visit))
    , m_data(server, report, keys) {}

void ContractCheck::run() {
    if (checkUrlFile()) {
        m_server.setClock();
        m_data.times();
        if (checkRequestToken())
            checkAll();
    }
}

void ContractCheck::checkAll() {
    checkRefusals();
    checkPage();
    if (signIn()) {
        m_data.documents(m_session.keys);
        m_data.oauth2(m_session.keys);
        if (!m_session.handle.isEmpty())
            checkRefreshes();
        checkSignOut();
    }
    for (const auto& common : {std::pair<const char*, QStringList>("date", m_server.withoutDate()),
                               std::pair<const char*, QStringList>("reasons", m_server.withoutReason())}) {
        if (common.second.isEmpty())
            m_report.ok(common.first);
        else
            m_report.missing(common.first, QStringLiteral("not at %1").arg(common.second.first()));
    }
    const QString slowest = QStringLiteral("the slowest answer took %1 ms").arg(m_server.slowestMs());
    m_report.judge("answer time", m_server.slowestMs() <= goodAnswerMs, slowest);
}

bool ContractCheck::checkUrlFile() {
    const QString address = m_server.text(QLatin1String(accountServer));
    QStringList absent;
    for (const char* const key : {accountServer, "RequestTokenEndPoint", "AuthorizationEndPoint", accessToken,
                                  "InvalidateTokenEndPoint", "LogoutEndPoint"}) {
        if (m_server.text(QLatin1String(key)).isEmpty())
            absent += QLatin1String(key);
    }
    if (!absent.isEmpty())
        return m_report.missing("URL file", QStringLiteral("it has no %1").arg(absent.join(QStringLiteral(", "))));
    m_report.ok("URL file");
    const QUrl url(address);
    const bool isLocal = url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback();
    if (!isWebAddress(address) || (url.scheme() != QLatin1String("https") && !isLocal))
        return m_report.missing("https", address);
    m_report.ok("https", address);
    return true;
}

bool ContractCheck::checkRequestToken() {
    const QUrl url = m_server.endPoint(accountServer, "RequestTokenEndPoint");
    const OAuthStamp stamp = m_server.stamp();
    const HttpReply reply = m_server.get(url, m_server.product(), stamp);
    const FormValues values = formValues(reply.body);
    const QString absent = missingNames(values, {"oauth_token", "oauth_token_secret", "x_oauth_client_identifier"});
    m_request = m_server.keysOf(values);
    if (!isFine(reply))
        return m_report.missing("request token", whatCame(reply));
    m_report.judgeNames("request token", absent);
    if (!m_request.token.isEmpty())
        m_data.expectRefusal("used nonce", m_server.get(url, m_server.product(), stamp), unauthorized);
    return !m_request.token.isEmpty() && !m_request.tokenSecret.isEmpty();
}

void ContractCheck::checkRefusals() {
    const QUrl url = m_server.endPoint(accountServer, "RequestTokenEndPoint");
    OAuthKeys keys = m_server.product();
    keys.consumerSecret += 'x';
    m_data.expectRefusal("wrong signature", m_server.get(url, keys, m_server.stamp()), unauthorized);
    OAuthStamp stale = m_server.stamp();
    stale.seconds -= oneDay;
    const HttpReply reply = m_server.get(url, m_server.product(), stale);
    m_report.judge("stale time stamp", reply.status >= badRequest && namesTheClock(reply), whatCame(reply));
    keys = m_server.product();
    keys.consumerKey += "-unknown";
    m_data.expectRefusal("unknown product", m_server.get(url, keys, m_server.stamp()), unauthorized);
}

QUrl ContractCheck::pageAddress(const OAuthKeys& keys) const {
    QString page = m_server.endPointText(accountServer, "AuthorizationEndPoint");
    const QString mark = QStringLiteral("%EncodedDomainKey%");
    if (const int position = page.indexOf(mark); position >= 0)
        page.remove(position, mark.size());
    return signedAddress(QUrl(page), keys, m_server.stamp());
}

void ContractCheck::checkPage() {
    OAuthKeys wrong = m_request;
    wrong.tokenSecret += 'x';
    const HttpReply page = m_server.get(pageAddress(wrong));
    m_report.judge("sign-in page", isRefusal(page), whatCame(page));
    const HttpReply early = askForToken(m_request, {});
    adopt(early);
    m_report.judge("before the sign-in", early.status >= badRequest, whatCame(early));
}

bool ContractCheck::signIn() {
    if (!m_visit.open(QString::fromLatin1(pageAddress(m_request).toEncoded())))
        return m_report.missing("access token", QStringLiteral("nobody has signed in"));
    const HttpReply reply = pollForToken();
    const FormValues values = formValues(reply.body);
    if (!isFine(reply))
        return m_report.missing("access token", whatCame(reply));
    adopt(reply);
    m_hasLostSession = m_open.isEmpty();
    checkFirstToken(values);
    const HttpReply second = askForToken(m_request, {});
    adopt(second);
    m_report.judge("spent request token", second.status >= badRequest, whatCame(second));
    m_session = {m_server.keysOf(values), values.value("oauth_session_handle")};
    return !m_session.keys.token.isEmpty() && !m_session.keys.tokenSecret.isEmpty();
}

// A refusal may mean that the user is not ready. All else is an answer that no product understands.
HttpReply ContractCheck::pollForToken() {
    HttpReply reply = askForToken(m_request, {});
    for (int asks = 1; isRefusal(reply); ++asks) {
        if ((m_visit.endsWithSignIn && asks == asksAfterTheEnd) || !m_visit.wait(askEveryMs))
            break;
        reply = askForToken(m_request, {});
    }
    return reply;
}

void ContractCheck::checkFirstToken(const FormValues& values) {
    const auto check = [this, &values](const char* name, const QVector<QByteArray>& names) {
        m_report.judgeNames(name, missingNames(values, names));
    };
    check("access token", tokenNames());
    check("user", {"x_oauth_user_name", "x_oauth_user_guid"});
    check("session lifetime", {"oauth_authorization_expires_in"});
    const qint64 seconds = values.value("oauth_expires_in").toLongLong();
    const QString lifetime = QStringLiteral("%1 s").arg(seconds);
    if (seconds > shortestLifetime)
        m_report.ok("token lifetime", seconds < comfortableLifetime ? lifetime + QStringLiteral(", which is short") : lifetime);
    else if (seconds > 0)
        m_report.missing("token lifetime", lifetime);
}

HttpReply ContractCheck::askForToken(const OAuthKeys& keys, const QByteArray& handle) {
    return m_server.get(m_server.endPoint(accountServer, accessToken), keys, m_server.stamp(handle));
}

void ContractCheck::adopt(const HttpReply& reply) {
    const FormValues values = formValues(reply.body);
    const Session session{m_server.keysOf(values), values.value("oauth_session_handle")};
    if (!isFine(reply) || session.keys.token.isEmpty() || session.keys.tokenSecret.isEmpty())
        return;
    for (Session& known : m_open) {
        if (known.handle == session.handle) {
            known = session;
            return;
        }
    }
    m_open += session;
}

void ContractCheck::expectToken(const char* name, const HttpReply& reply) {
    const FormValues values = formValues(reply.body);
    const QString absent = missingNames(values, tokenNames());
    adopt(reply);
    if (!isFine(reply)) {
        m_report.missing(name, whatCame(reply));
        return;
    }
    m_report.judgeNames(name, absent);
    if (!values.value("oauth_token").isEmpty() && !values.value("oauth_token_secret").isEmpty())
        m_session.keys = m_server.keysOf(values);
    if (!values.value("oauth_session_handle").isEmpty())
        m_session.handle = values.value("oauth_session_handle");
}

void ContractCheck::checkRefreshes() {
    const HttpReply wrong = askForToken(m_session.keys, m_session.handle + 'x');
    adopt(wrong);
    m_data.expectRefusal("wrong session handle", wrong, badRequest);
    expectToken("refresh", askForToken(m_session.keys, m_session.handle));
    expectToken("session handle alone", askForToken(m_server.product(), m_session.handle));
}

HttpReply ContractCheck::signOut(const Session& session) {
    return m_server.get(m_server.endPoint(accountServer, "InvalidateTokenEndPoint"), session.keys,
                        m_server.stamp(session.handle));
}

void ContractCheck::checkSignOut() {
    const HttpReply reply = signOut(m_session);
    if (!isFine(reply)) {
        m_report.missing("sign-out", whatCame(reply));
        return;
    }
    m_report.ok("sign-out");
    m_hasSignedOut = true;
    m_data.tokenOfEndedSession(m_session.keys);
    if (m_session.handle.isEmpty())
        return;
    const HttpReply refresh = askForToken(m_session.keys, m_session.handle);
    adopt(refresh);
    m_data.expectRefusal("refresh after sign-out", refresh, badRequest);
}

QString ContractCheck::cleanUp() {
    m_server.beginCleanUp();
    QString why = m_hasLostSession ? QStringLiteral("a reply had no token") : QString();
    for (const Session& session : qAsConst(m_open)) {
        const HttpReply reply = signOut(session);
        const bool hasEndedBefore = m_hasSignedOut && reply.status == unauthorized;
        if (!isFine(reply) && !hasEndedBefore)
            why = whatCame(reply);
    }
    return why;
}

} // namespace Vqws
