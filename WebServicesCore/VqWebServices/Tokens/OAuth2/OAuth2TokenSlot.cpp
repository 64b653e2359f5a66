#include "Tokens/OAuth2/OAuth2TokenSlot.h"

#include "Tokens/IRequestFlags.h"
#include "Tokens/TokenReply.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqUtil/General/HumanText.h"

#include <QCryptographicHash>
#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

namespace {

// Scopes are equal whatever their case. A process may use the kind of the older interface beside the one without scope: with the
// same name, one would take the other for another process.
QString specText(const OAuth2TokenSpec& spec) {
    const OAuth2TokenSpecImp& data = OAuth2TokenSpecImp::of(spec);
    return (data.legacy ? QStringLiteral("legacy.%1") : QStringLiteral("%1")).arg(data.toText().toLower());
}

} // namespace

OAuth2TokenSlot::OAuth2TokenSlot(ITokenOwner& owner, const OAuth2TokenSpec& spec)
    : m_owner(owner)
    , m_spec(spec) {}

QString OAuth2TokenSlot::scope() const {
    const OAuth2TokenSpecImp& spec = OAuth2TokenSpecImp::of(m_spec);
    const ConfigurationPointer configuration = spec.legacy && spec.scope.isEmpty() ? m_owner.configuration() : nullptr;
    return configuration ? normalisedScope(WebServicesConfigurationImp::of(*configuration).oauth2AccessTokenScope) : spec.scope;
}

OAuth2TokenData OAuth2TokenSlot::token() const {
    const QMutexLocker lock(&m_mutex);
    return m_token;
}

QString OAuth2TokenSlot::queryLockName(const QString& keyDigest) const {
    // A scope is free text, the name of a lock is not: hence the digest.
    const QByteArray digest = QCryptographicHash::hash(specText(m_spec).toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    return QStringLiteral("Velquor.WebServices.OAuth2TokenQuery.%1.%2").arg(keyDigest, QString::fromLatin1(digest));
}

QString OAuth2TokenSlot::queryFlag() const {
    return RequestFlag::oauth2QueryOfSpec.arg(specText(m_spec));
}

QString OAuth2TokenSlot::refreshFlag() const {
    return m_spec.GetType() == JWT ? RequestFlag::oauth2JwtRefresh : RequestFlag::oauth2Refresh;
}

OAuth2TokenSlot::Stored OAuth2TokenSlot::SetToken(const Util::SecretBytes& token, const QDateTime& expiryDate,
                                                  const QString& signInId) {
    const QByteArray encrypted = m_owner.services().cryptor->encrypt(token.view());
    if (encrypted.isEmpty()) {
        log().error(QStringLiteral("Failed to set OAuth2 token since encryption failed"));
        return Stored::NotEncrypted;
    }
    switch (m_owner.storeOAuth2(*this, {m_spec.GetType(), scope(), encrypted, expiryDate}, signInId)) {
    case StoreResult::SignInGone: return Stored::SignInGone;
    case StoreResult::Busy: return Stored::Busy;
    case StoreResult::Unwritten:
    case StoreResult::Stored: break;
    }
    return Stored::Yes;
}

void OAuth2TokenSlot::replaceToken(const OAuth2TokenData& token) {
    {
        const QMutexLocker lock(&m_mutex);
        m_token = token;
    }
    // Without the lock: a receiver may read the token.
    emit OAuth2TokenAvailable();
}

void OAuth2TokenSlot::adopt(const OAuth2TokenData& token) {
    // A damaged token, or one encrypted for another user, must not replace a good one.
    const bool isAnother = token.isPresent() && token.token != this->token().token;
    if (isAnother && isUsableToken(m_owner.services().cryptor->decrypt(token.token).view()))
        replaceToken(token);
}

void OAuth2TokenSlot::DiscardToken() {
    {
        const QMutexLocker lock(&m_mutex);
        m_token = {};
    }
    log().information(QStringLiteral("OAuth2 access token discarded"));
    emit OAuth2TokenDiscarded();
}

void OAuth2TokenSlot::Clear() {
    log().information(QStringLiteral("Clearing OAuth2 token"));
    const QMutexLocker lock(&m_mutex);
    m_token = {};
}

QString OAuth2TokenSlot::DescribeOAuth2Token() const {
    const OAuth2TokenData held = token();
    const QDateTime now = m_owner.services().now();
    const QString left = !held.isPresent()     ? QStringLiteral("Token not found")
                         : held.isExpired(now) ? QStringLiteral("Already expired")
                                               : Util::timeSpanText(now.msecsTo(held.expiryDate));
    return QStringLiteral("OAuth2 token type: %1, Scope: %2, Expires in: %3").arg(tokenTypeName(m_spec.GetType()), scope(), left);
}

} // namespace Velquor::WebServices::Internal
