#pragma once

#include "Session/Products/ClientInfo.h"
#include "Session/Products/ClientReferences.h"
#include "Session/Products/OAuth2Sessions.h"
#include "Session/State/LoginState.h"
#include "Session/State/SessionDependencies.h"
#include "Tokens/ITokenOwner.h"
#include "Tokens/SignedRequest.h"
#include "Values/ServerName.h"
#include "VqUtil/Threads/RecursiveLock.h"

#include <QReadWriteLock>
#include <QString>
#include <VqWebServices/CacheType.h>
#include <memory>
#include <optional>

namespace Velquor::WebServices::Internal {

class TokenOperations;

/// The login state of one product (one consumer key) on one server: its OAuth 1.0 tokens, what is needed to sign with them, and,
/// once it is activated, the thread on which they are queried and refreshed.
///
/// Thread: any; its fields have a lock of their own, taken after the login session lock. Owner: the login session, shared with
/// the operations that use it at the moment; it is destroyed only after its thread has ended. Errors: results and log lines.
class ProductLoginSession {
public:
    /// `clientKey`: the client that it is made for, in the log; empty for a product of the file that no client here is.
    ProductLoginSession(SessionDependencies services, const QString& productKey, Server server, const QString& clientKey);
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

    /// What the login state file holds of the product. Secrets stay encrypted.
    [[nodiscard]] StoredProduct stored() const;
    /// Takes the tokens of the file, which are not older than those here.
    void Load(const StoredProduct& product);
    /// What is to be written to the file; none, with one log line, when there is nothing to write.
    [[nodiscard]] std::optional<StoredProduct> Save() const;
    void Clear();

    /// Creates the OAuth2 sessions for tokens of these kinds. Only in an activated session.
    void EnableOAuth2(const QVector<OAuth2TokenSpec>& specs);
    /// False when it was disabled before.
    bool DisableOAuth2() { return m_oauth2.disable(); }
    [[nodiscard]] const OAuth2Sessions& oauth2() const { return m_oauth2; }

    /// Held while configuration or tokens are replaced, and while a caller needs them unchanged.
    [[nodiscard]] Util::IRecursiveLock& operationLock() const { return m_operationLock; }

    /// The keys for a signature with the access token, or the reason why there are none.
    [[nodiscard]] Util::Result<SigningKeys> signingKeys() const;

    /// The decrypted session handle; empty when there is none or it cannot be decrypted.
    [[nodiscard]] Util::SecretBytes sessionHandle() const;

private:
    /// Under the lock.
    void renewPrefix();
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
    ClientReferences m_clientReferences;
    bool m_deactivated = false;
    mutable Util::RecursiveLock m_operationLock;
    OAuth2Sessions m_oauth2;
    std::unique_ptr<ITokenOwner> m_owner;
    std::unique_ptr<TokenOperations> m_operations;
};

} // namespace Velquor::WebServices::Internal
