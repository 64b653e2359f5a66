#include "Tokens/OAuth2/OAuth2Session.h"

#include "Tokens/OAuth2/OAuth2TokenFetcher.h"
#include "Tokens/OAuth2/OAuth2TokenRefresher.h"
#include "Tokens/Query/TokenFetcher.h"
#include "Tokens/Refresh/TokenRefresher.h"
#include "Tokens/TokenReply.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqUtil/General/HumanText.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

OAuth2Session::OAuth2Session(ITokenOwner& owner, const OAuth2TokenSpec& spec)
    : m_owner(owner)
    , m_spec(spec)
    , m_queries(std::make_shared<RunState>())
    , m_refreshes(std::make_shared<RunState>()) {
    log().information(QStringLiteral("OAuth2Session constructor"));
}

std::vector<TokenWorker*> OAuth2Session::Activate(const Parts& parts) {
    log().information(QStringLiteral("Activating OAuth2Session"));
    auto* const fetcher = new OAuth2TokenFetcher(m_owner, *this, parts.flags, parts.keyDigest);
    auto* const refresher =
        new OAuth2TokenRefresher(m_owner, *this, parts.flags, parts.controller, parts.tokenRefresher, fetcher->runState());
    connect(&parts.tokenFetcher, &TokenFetcher::TokenAvailable, fetcher, &OAuth2TokenFetcher::TokenAcquired);
    connect(&parts.tokenRefresher, &TokenRefresher::TokenRefreshed, fetcher, &OAuth2TokenFetcher::TokenRefreshed);
    connect(&parts.tokenRefresher, &TokenRefresher::TokenRefreshed, refresher, &OAuth2TokenRefresher::TokenRefreshed);
    connect(fetcher, &OAuth2TokenFetcher::OAuth2TokenQueryFinished, refresher, &OAuth2TokenRefresher::OAuth2TokenAvailable);
    // Queued on the workers' own thread, too: a token changes under locks that the refresher needs.
    connect(this, &OAuth2Session::OAuth2TokenAvailable, refresher, &OAuth2TokenRefresher::OAuth2TokenAvailable,
            Qt::QueuedConnection);
    connect(this, &OAuth2Session::OAuth2TokenDiscarded, refresher, &OAuth2TokenRefresher::OAuth2TokenDiscarded,
            Qt::QueuedConnection);
    for (QObject* const worker : std::initializer_list<QObject*>{fetcher, refresher})
        worker->moveToThread(parts.thread);
    const QMutexLocker lock(&m_workerMutex);
    m_fetcher = fetcher;
    m_refresher = refresher;
    m_queries = fetcher->runState();
    m_refreshes = refresher->runState();
    return {refresher, fetcher};
}

void OAuth2Session::detach() {
    const QMutexLocker lock(&m_workerMutex);
    m_fetcher = nullptr;
    m_refresher = nullptr;
}

QString OAuth2Session::scope() const {
    const OAuth2TokenSpecImp& spec = OAuth2TokenSpecImp::of(m_spec);
    const ConfigurationPointer configuration = spec.legacy && spec.scope.isEmpty() ? m_owner.configuration() : nullptr;
    return configuration ? normalisedScope(WebServicesConfigurationImp::of(*configuration).oauth2AccessTokenScope) : spec.scope;
}

OAuth2TokenData OAuth2Session::token() const {
    const QMutexLocker lock(&m_tokenMutex);
    return m_token;
}

OAuth2Session::Stored OAuth2Session::SetToken(const Util::SecretBytes& token, const QDateTime& expiryDate,
                                              const QString& signInId) {
    const QByteArray encrypted = m_owner.services().cryptor->encrypt(token.view());
    if (encrypted.isEmpty()) {
        log().error(QStringLiteral("Failed to set OAuth2 token since encryption failed"));
        return Stored::NotEncrypted;
    }
    switch (m_owner.storeOAuth2(*this, {m_spec.GetType(), scope(), encrypted, expiryDate}, signInId)) {
    case StoreResult::SignInGone: return Stored::SignInGone;
    case StoreResult::Busy: return Stored::Busy;
    case StoreResult::Stored: break;
    }
    return Stored::Yes;
}

void OAuth2Session::replaceToken(const OAuth2TokenData& token) {
    {
        const QMutexLocker lock(&m_tokenMutex);
        m_token = token;
    }
    emit OAuth2TokenAvailable();
}

void OAuth2Session::adopt(const OAuth2TokenData& token) {
    // A token that is damaged, or was encrypted for somebody else, must not take the place of a good one.
    if (token.isNewerThan(this->token()) && isUsableToken(m_owner.services().cryptor->decrypt(token.token).view()))
        replaceToken(token);
}

void OAuth2Session::DiscardToken() {
    {
        const QMutexLocker lock(&m_tokenMutex);
        if (!m_token.isPresent())
            return;
        m_token = {};
    }
    log().information(QStringLiteral("OAuth2 access token discarded"));
    emit OAuth2TokenDiscarded();
}

void OAuth2Session::Clear() {
    log().information(QStringLiteral("Clearing OAuth2 token"));
    const QMutexLocker lock(&m_tokenMutex);
    m_token = {};
}

QString OAuth2Session::DescribeOAuth2Token() const {
    const OAuth2TokenData held = token();
    const QDateTime now = m_owner.services().now();
    const QString left = !held.isPresent()     ? QStringLiteral("Token not found")
                         : held.isExpired(now) ? QStringLiteral("Already expired")
                                               : Util::timeSpanText(now.msecsTo(held.expiryDate));
    return QStringLiteral("OAuth2 token type: %1, Scope: %2, Expires in: %3").arg(tokenTypeName(m_spec.GetType()), scope(), left);
}

} // namespace Velquor::WebServices::Internal
