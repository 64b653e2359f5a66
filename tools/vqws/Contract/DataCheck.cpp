#include "Contract/DataCheck.h"

#include "Contract/ReplyReading.h"
#include "Texts.h"

#include <QRegularExpression>
#include <cstdlib>

namespace Vqws {

namespace {

using namespace Status;

constexpr qint64 toleratedSeconds = 30;

const auto accountServer = "AccountServerUrl";
const auto wrongEnd = QStringLiteral("x");

QByteArray form(const QVector<QPair<QByteArray, QByteArray>>& pairs) {
    QByteArray text;
    for (const auto& pair : pairs)
        text += (text.isEmpty() ? "" : "&") + pair.first + '=' + pair.second.toPercentEncoding();
    return text;
}

} // namespace

DataCheck::DataCheck(ContractServer& server, ContractReport& report, const ClientKeys& keys)
    : m_server(server)
    , m_report(report)
    , m_keys(keys) {}

bool DataCheck::expectRefusal(const char* name, const HttpReply& reply, int status) {
    const bool isOther = status == unauthorized && isRefusal(reply) && reply.status != badRequest;
    if (reply.status != status && !isOther)
        return m_report.missing(name, QStringLiteral("%1 instead of a refusal with status %2").arg(whatCame(reply)).arg(status));
    m_report.ok(name, whatCame(reply));
    return true;
}

QUrl DataCheck::address(const Document& document) const {
    QUrl url = m_server.endPoint(document.service, document.endPoint);
    if (url.isValid() && *document.query)
        url.setQuery((url.hasQuery() ? url.query() + QLatin1Char('&') : QString()) + QLatin1String(document.query));
    return url;
}

void DataCheck::documents(const OAuthKeys& token) {
    check({"profile", accountServer, "IdentityAccountFolderEndPoint", "format=xml", &isProfile}, token);
    check({"entitlements", accountServer, "IdentityEntitlementEndPoint", "format=xml&services=all&fields=trialinfo",
           &isEntitlements},
          token);
    check({"quota", "StorageApiUrl", "StorageUsageEndPoint", "", &isQuota}, token);
    if (m_document.isEmpty())
        return;
    OAuthKeys wrong = token;
    wrong.tokenSecret += 'x';
    expectRefusal("wrong token secret", m_server.get(m_document, wrong, m_server.stamp()), unauthorized);
}

void DataCheck::check(const Document& document, const OAuthKeys& token) {
    const QUrl url = address(document);
    if (url.isEmpty())
        return m_report.leaveOut(document.name, QStringLiteral("the URL file has no %1").arg(QLatin1String(document.endPoint)));
    const HttpReply reply = m_server.get(url, token, m_server.stamp());
    if (!isFine(reply))
        m_report.missing(document.name, whatCame(reply));
    else if (!document.isWhole(reply.body))
        m_report.missing(document.name, QStringLiteral("the body is something else (%1)").arg(reply.contentType));
    else
        m_report.ok(document.name);
    if (!isFine(reply) || !m_document.isEmpty())
        return;
    m_document = url;
    checkUnchanged(url, reply, token);
}

void DataCheck::checkUnchanged(const QUrl& url, const HttpReply& first, const OAuthKeys& token) {
    const QByteArray date = first.headers.value("last-modified");
    if (date.isEmpty()) {
        m_report.missing("unchanged document", QStringLiteral("%1 has no Last-Modified").arg(url.path()));
        return;
    }
    const HttpReply second = m_server.get(url, token, m_server.stamp(), date);
    if (second.status == notModified)
        m_report.ok("unchanged document");
    else
        m_report.missing("unchanged document", QStringLiteral("%1 the second time").arg(whatCame(second)));
}

HttpReply DataCheck::askOAuth2(const OAuthKeys& token, const QString& secret, const QByteArray& type) {
    return m_server.post(m_server.endPoint("OAuth2AccountServerUrl", "OAuth2AccessTokenEndPoint"),
                         form({{"client_id", m_keys.oauth2Key.toUtf8()},
                               {"client_secret", secret.toUtf8()},
                               {"oauth1_token", token.token},
                               {"oauth1_secret", token.tokenSecret},
                               {"token_type", type}}));
}

void DataCheck::expectOAuth2(const char* name, const HttpReply& reply) {
    const QString fault = isFine(reply) ? faultOfOAuth2Reply(reply.body) : whatCame(reply);
    m_report.judge(name, fault.isEmpty(), fault);
}

void DataCheck::oauth2(const OAuthKeys& token) {
    if (m_server.endPoint("OAuth2AccountServerUrl", "OAuth2AccessTokenEndPoint").isEmpty())
        return;
    expectOAuth2("OAuth2 token", askOAuth2(token, m_keys.oauth2Secret, {}));
    expectOAuth2("OAuth2 JWT", askOAuth2(token, m_keys.oauth2Secret, "jwt"));
    expectRefusal("OAuth2 wrong secret", askOAuth2(token, m_keys.oauth2Secret + wrongEnd, {}), unauthorized);
}

void DataCheck::times() {
    const QStringList addresses =
        m_server.text(QStringLiteral("TimeServerUrls")).split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (addresses.isEmpty())
        return m_report.leaveOut("time", QStringLiteral("the URL file has no TimeServerUrls"));
    for (const QString& address : addresses) {
        const HttpReply reply = m_server.get(QUrl(address));
        const std::optional<qint64> time = reply.status != 0 && reply.status < badRequest ? timeIn(reply) : std::nullopt;
        const qint64 difference = time ? *time - m_server.serverSeconds() : 0;
        if (!time)
            m_report.missing("time", QStringLiteral("%1 tells no time: %2").arg(address, whatCame(reply)));
        else if (std::abs(difference) > toleratedSeconds)
            m_report.missing("time", QStringLiteral("%1 is %2 from the account server").arg(address, spanText(difference)));
    }
    m_report.ok("time");
}

void DataCheck::tokenOfEndedSession(const OAuthKeys& token) {
    if (!m_document.isEmpty())
        expectRefusal("token after sign-out", m_server.get(m_document, token, m_server.stamp()), unauthorized);
    if (m_server.endPoint("OAuth2AccountServerUrl", "OAuth2AccessTokenEndPoint").isEmpty())
        return;
    const HttpReply reply = askOAuth2(token, m_keys.oauth2Secret, {});
    m_report.judge("OAuth2 after sign-out", reply.status >= badRequest, whatCame(reply));
}

} // namespace Vqws
