#pragma once

#include "Events/WebServicesEvent.h"
#include "Tokens/OAuth2TokenData.h"
#include "Tokens/ProductTokens.h"
#include "Tokens/SignedRequest.h"
#include "Tokens/TokenDependencies.h"
#include "Values/ConfigurationPointer.h"
#include "VqUtil/General/Result.h"

#include <VqWebServices/Server.h>

namespace Velquor::WebServices::Internal {

class OAuth2TokenSlot;

/// The result of storing tokens.
enum class StoreResult {
    Stored,
    Unwritten,  ///< In memory, and in use; the file could not be written yet, so it may hold a spent token.
    SignInGone, ///< Nothing is stored: the sign-in of the tokens is over, here or in the file.
    Busy,       ///< Nothing is stored: another operation holds the login state for too long. The sign-in continues.
};

/// The result of a look at the login state file.
enum class FileLook {
    Read,       ///< Memory holds what the file holds.
    Unread,     ///< The file cannot be read now, or another operation is under way: it may hold other tokens.
    SignInGone, ///< This sign-in is over, here or in the file, or the product is going away.
};

/// Another product that is signed in on the same server, whose session can sign this one in.
struct OtherLogin {
    QString productName;
    QString productKey;
    QByteArray sessionHandle; ///< Encrypted.

    [[nodiscard]] bool isFound() const { return !productKey.isEmpty() && !sessionHandle.isEmpty(); }
};

/// The product of the token workers, as they see it: what they need to know, and what they change.
///
/// Thread: any. Owner: the product's session, which outlives its workers. Errors: results; the owner logs what it does itself.
class ITokenOwner {
public:
    virtual ~ITokenOwner() = default;

    [[nodiscard]] virtual const TokenDependencies& services() const = 0;
    [[nodiscard]] virtual QString productKey() const = 0;
    [[nodiscard]] virtual Server server() const = 0;
    /// A web service of that server, by the keys of the URL files; an empty URL when they do not name it.
    [[nodiscard]] QUrl endPoint(const QString& serverKey, const QString& endPointKey) const {
        return QUrl(services().urls->endPoint(server(), serverKey, endPointKey));
    }
    /// Null when no client has configured the product, or the last client was removed.
    [[nodiscard]] virtual ConfigurationPointer configuration() const = 0;
    [[nodiscard]] virtual ProductTokens tokens() const = 0;
    /// The keys for a signature with the access token, or the reason why there are none.
    [[nodiscard]] virtual Util::Result<SigningKeys> signingKeys() const = 0;
    [[nodiscard]] virtual OtherLogin otherLogin() const = 0;

    [[nodiscard]] virtual bool isLoggedIn() const = 0;
    /// The id of the signed-in user, or the name when there is none; empty when nobody is signed in.
    [[nodiscard]] virtual QString user() const = 0;
    [[nodiscard]] virtual bool isLoginExpired() const = 0;
    [[nodiscard]] virtual bool isLogoutPending() const = 0;
    [[nodiscard]] virtual QDateTime sessionExpiryDate() const = 0;
    /// Identifies the present sign-in; empty when nobody is signed in.
    [[nodiscard]] virtual QString signInId() const = 0;

    /// Reads the login state file before a request: another process may have renewed the tokens, and newer ones in the file
    /// replace the product's.
    [[nodiscard]] virtual FileLook catchUpWithFile(const QString& signInId) = 0;

    /// Stores new tokens of this sign-in in memory and in the file. An invalid session expiry leaves the known one.
    [[nodiscard]] virtual StoreResult store(const ProductTokens& tokens, const QDateTime& sessionExpiry,
                                            const QString& signInId) = 0;

    [[nodiscard]] virtual bool isOAuth2Enabled() const = 0;
    /// The same for an OAuth2 token that was just obtained, which replaces the one in `slot`.
    [[nodiscard]] virtual StoreResult storeOAuth2(OAuth2TokenSlot& slot, const OAuth2TokenData& token,
                                                  const QString& signInId) = 0;

    /// The product login session lock. Configuration and tokens of the product change only under it, so a reader that needs both
    /// unchanged for a moment takes it too. Taken after the login session lock; nobody waits for anything while holding it.
    [[nodiscard]] virtual Util::IRecursiveLock& productLock() = 0;

    virtual void raiseEvent(WebServicesPrivateCore::WebServicesEvent event) = 0;
    /// The same for an event about one OAuth2 token.
    virtual void raiseOAuth2Event(WebServicesPrivateCore::WebServicesEvent event, const OAuth2TokenSpec& spec) = 0;
    /// Ends this sign-in, which cannot be used any more. It happens later, on the main thread; another sign-in stays.
    virtual void forceLogout(const QString& signInId) = 0;

    /// The product is going away: nothing is waited for and no event is raised any more.
    virtual void stop() {}
};

} // namespace Velquor::WebServices::Internal
