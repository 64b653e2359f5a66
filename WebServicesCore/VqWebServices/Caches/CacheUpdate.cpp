#include "Caches/CacheUpdate.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Values/ServerName.h"
#include "VqUtil/General/HumanText.h"

#include <QCryptographicHash>
#include <utility>

namespace Velquor::WebServices::Internal {

CacheIdentity presentIdentity(const ITokenOwner& tokens) {
    const Util::Result<SigningKeys> keys = tokens.signingKeys();
    const QByteArray hash = keys ? QCryptographicHash::hash(keys->token.view(), QCryptographicHash::Md5).toHex() : QByteArray();
    return {serverName(tokens.server()), tokens.user(), QString::fromLatin1(hash)};
}

CacheUpdate::CacheUpdate(ITokenOwner& tokens, std::shared_ptr<RunState> refreshes, const CacheLog& log,
                         IExchange::Finished finished, QObject* parent)
    : m_tokens(tokens)
    , m_refreshes(std::move(refreshes))
    , m_log(log)
    , m_exchange(tokens.services().network->makeExchange(std::move(finished), parent)) {}

CacheUpdate::Readiness CacheUpdate::readiness(bool canUpdate) const {
    if (!canUpdate) {
        m_log.information(QStringLiteral("Skipping update. Can't update cache now."));
        return Readiness::NotNow;
    }
    if (!m_tokens.isLoggedIn() || m_tokens.isLoginExpired()) {
        m_log.information(QStringLiteral("Skipping update. Not logged in or login session has expired."));
        return Readiness::NotNow;
    }
    if (m_refreshes->isBusy() || m_tokens.tokens().areExpired(m_tokens.services().now())) {
        m_log.information(QStringLiteral("Skipping update. Token has expired or refresh is in progress. Will retry update in %1.")
                              .arg(Util::timeSpanText(tokenRetryMs)));
        return Readiness::TokenNotReady;
    }
    return Readiness::Ready;
}

bool CacheUpdate::send(QNetworkRequest request) {
    if (!sign(request)) {
        m_log.error(QStringLiteral("Skipping update since failed to sign request. Probably just logged out."));
        return false;
    }
    m_log.information(QStringLiteral("Starting update in separate thread"));
    m_exchange->send(request, QStringLiteral("GET"), {}, m_tokens.services().tokenTimeoutMs, m_tokens.services().loggers.network);
    return true;
}

bool CacheUpdate::sign(QNetworkRequest& request) {
    const QUrl url = request.url();
    m_log.information(QStringLiteral("Signing request: %1").arg(displayUrl(url)));
    m_signInId = m_tokens.signInId();
    m_identity = presentIdentity(m_tokens);
    const Util::Result<SigningKeys> keys = m_tokens.signingKeys();
    const bool isSigned = url.isValid() && keys && signGet(*m_tokens.services().oauthHost, url, *keys, request);
    if (isSigned)
        m_log.information(QStringLiteral("Finished signing request successfully: %1").arg(displayUrl(url)));
    else
        m_log.error(QStringLiteral("Failed to sign request: %1").arg(displayUrl(url)));
    return isSigned;
}

} // namespace Velquor::WebServices::Internal
