#pragma once

#include "Tokens/ITokenOwner.h"

#include <QMutex>
#include <QObject>

namespace Velquor::WebServices::Internal {

/// One kind of OAuth2 token of a product: the spec, the token itself, and the names of the locks and flags of the requests for
/// it.
///
/// The workers that query and refresh the token know nothing else of its session. Thread: any; the token has a mutex of its own.
/// Owner: the OAuth2 session, which outlives its workers. Errors: results and log lines.
class OAuth2TokenSlot : public QObject {
    Q_OBJECT

public:
    OAuth2TokenSlot(ITokenOwner& owner, const OAuth2TokenSpec& spec);

    [[nodiscard]] const OAuth2TokenSpec& spec() const { return m_spec; }
    /// The scope to ask for: the spec's, or the configuration's for the spec of the older interface.
    [[nodiscard]] QString scope() const;
    [[nodiscard]] OAuth2TokenData token() const;

    /// Names the lock that keeps the queries of all processes apart. `keyDigest` replaces the consumer key.
    [[nodiscard]] QString queryLockName(const QString& keyDigest) const;
    /// The flags that show a query and a refresh to other processes.
    [[nodiscard]] QString queryFlag() const;
    [[nodiscard]] QString refreshFlag() const;

    enum class Stored { Yes, NotEncrypted, SignInGone, Busy };
    /// Encrypts and keeps a token that was just obtained, in memory and in the file.
    [[nodiscard]] Stored SetToken(const Util::SecretBytes& token, const QDateTime& expiryDate, const QString& signInId);
    /// Replaces the token by an encrypted one, in memory only.
    void replaceToken(const OAuth2TokenData& token);
    /// Uses another token of the file, which was obtained later, if it can be decrypted.
    void adopt(const OAuth2TokenData& token);
    /// OAuth2 was disabled.
    void DiscardToken();
    /// The user signed out.
    void Clear();

    /// For the log: type, scope and remaining life.
    [[nodiscard]] QString DescribeOAuth2Token() const;

signals:
    void OAuth2TokenAvailable();
    void OAuth2TokenDiscarded();

private:
    [[nodiscard]] Log::ILogger& log() const { return *m_owner.services().loggers.oauth2; }

    ITokenOwner& m_owner;
    const OAuth2TokenSpec m_spec;
    mutable QMutex m_mutex;
    OAuth2TokenData m_token;
};

} // namespace Velquor::WebServices::Internal
