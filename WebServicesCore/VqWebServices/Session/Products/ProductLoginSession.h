#pragma once

#include "Session/Products/ClientInfo.h"
#include "Session/Products/ClientReferences.h"
#include "Session/Products/OAuth2Sessions.h"
#include "Session/State/LoginState.h"
#include "Session/State/SessionDependencies.h"
#include "Tokens/ITokenOwner.h"
#include "Tokens/SignedRequest.h"
#include "Values/ServerName.h"

#include <QDomElement>
#include <QReadWriteLock>
#include <QRecursiveMutex>
#include <QString>
#include <VqWebServices/CacheType.h>
#include <memory>

namespace Velquor::WebServices::Internal {

class TokenOperations;

/// The login state of one product (one consumer key) on one server: its OAuth 1.0 tokens, what is needed to sign with them, and,
/// once it is activated, the thread on which they are queried and refreshed.
///
/// Thread: any; its fields have a lock of their own, taken after the login session lock. Owner: the login session, shared with
/// the operations that use it at the moment; it is destroyed only after its thread has ended. Errors: results and log lines.
class ProductLoginSession {
public:
    ProductLoginSession(SessionDependencies services, const QString& productKey, Server server);
    ~ProductLoginSession();

    [[nodiscard]] const QString& productKey() const { return m_productKey; }
    [[nodiscard]] Server server() const { return m_server; }

    /// The name of the product and its executable, as they are written to the login state file.
    void setProduct(const QString& name, const QString& exeName);
    [[nodiscard]] QString displayName() const;

    /// The prefix of what is logged for this session: the product's name, when it is known, the end of its key, and the server.
    [[nodiscard]] QString logPrefix() const { return m_prefix->text(); }
    /// What its token work needs from lower layers; the loggers write with the prefix.
    [[nodiscard]] const TokenDependencies& services() const { return m_services; }

    /// Starts the token operations when there is a configuration, unless they run already or the session was deactivated.
    void Activate(std::unique_ptr<ITokenOwner> owner);
    /// Ends the token operations for good. `retire` does not wait for their thread and may be called anywhere, also on it.
    void Deactivate();
    void retire();
    /// True when no thread of this session runs.
    [[nodiscard]] bool isAtRest() const;
    /// The token operations; null before the activation. They live as long as this session.
    [[nodiscard]] TokenOperations* operations() const;

    /// Has the product's cache of this type deleted, in memory and in the file.
    void DeleteCacheSlot(CacheType type);
    /// The sign-in is over: its caches write nothing and notify nobody any more.
    void endCaches();
    void enableCache(CacheType type);

    void AddClientReference(const QString& clientKey) { m_clientReferences.add(clientKey); }
    void RemoveClientReference(const QString& clientKey) { m_clientReferences.remove(clientKey); }
    /// The clients of this process that are this product.
    [[nodiscard]] const ClientReferences& clientReferences() const { return m_clientReferences; }

    /// Checks whether the product has its tokens, and starts an automatic sign-in when another product's sign-in can be used.
    /// False when there are no tokens and no way to get them.
    bool CheckTokensToQuery(Server currentServer);

    void SetConfiguration(const ConfigurationPointer& configuration);
    [[nodiscard]] ConfigurationPointer configuration() const;

    [[nodiscard]] ProductTokens tokens() const;
    void setTokens(const ProductTokens& tokens);

    /// The request token of a sign-in that waits for the browser; the secret is encrypted.
    struct RequestToken {
        QByteArray token;
        QByteArray encryptedSecret;
        QByteArray encryptedClientId;
    };
    void setRequestToken(const RequestToken& token);
    [[nodiscard]] RequestToken requestToken() const;

    /// Loads the product's node of the login state file. Newer tokens here stay: those that were obtained with the tokens of the
    /// node and are not saved yet. Secrets stay encrypted until they are used.
    void Load(const QDomElement& product);
    /// Whether this session may replace its node in the file. It may not when another process has stored other tokens there since
    /// this one looked. `isSameSignIn`: the node is of the sign-in in memory.
    [[nodiscard]] bool mayReplace(const QDomElement& product, bool isSameSignIn) const;
    /// The tokens here are newer than those of this node.
    void noteFile(const QDomElement& product);
    /// The file holds the tokens of this session.
    void markSaved();
    /// Writes the product's node. False when there is nothing to write. `earlier`: the node of the same sign-in in the file,
    /// whose OAuth2 tokens of other kinds are kept; may be null.
    [[nodiscard]] bool Save(QDomElement& product, const QDomElement& earlier) const;
    /// Writes the OAuth2 tokens into the product's node of the file; `fresh` was just obtained.
    void SaveOAuth2(QDomElement& product, const OAuth2TokenData& fresh) const;
    void Clear();

    /// Creates the OAuth2 sessions for tokens of these kinds. Only in an activated session.
    void EnableOAuth2(const QVector<OAuth2TokenSpec>& specs);
    /// False when it was disabled before.
    bool DisableOAuth2() { return m_oauth2.disable(); }
    [[nodiscard]] const OAuth2Sessions& oauth2() const { return m_oauth2; }

    /// Held while configuration or tokens are replaced, and while a caller needs them unchanged.
    [[nodiscard]] QRecursiveMutex& operationLock() const { return m_operationLock; }

    /// The keys for a signature with the access token, or the reason why there are none.
    [[nodiscard]] Util::Result<SigningKeys> signingKeys() const;

    /// The decrypted session handle; empty when there is none or it cannot be decrypted.
    [[nodiscard]] Util::SecretBytes sessionHandle() const;

private:
    /// Under the lock.
    void renewPrefix();
    [[nodiscard]] bool isUnsaved() const;
    void checkOAuth2Tokens() const;

    const std::shared_ptr<Log::LogPrefix> m_prefix = std::make_shared<Log::LogPrefix>();
    const SessionDependencies m_services;
    const QString m_productKey;
    const Server m_server;
    mutable QReadWriteLock m_lock;
    QString m_name;
    QString m_exeName;
    ConfigurationPointer m_configuration;
    ProductTokens m_tokens;
    QByteArray m_tokenInFile; ///< The access token that this session saw in the file last: another one there is newer.
    RequestToken m_requestToken;
    ClientReferences m_clientReferences;
    bool m_deactivated = false;
    mutable QRecursiveMutex m_operationLock;
    OAuth2Sessions m_oauth2;
    std::unique_ptr<ITokenOwner> m_owner;
    std::unique_ptr<TokenOperations> m_operations;
};

} // namespace Velquor::WebServices::Internal
