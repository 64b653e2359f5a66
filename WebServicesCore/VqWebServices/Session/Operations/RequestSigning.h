#pragma once

#include "Session/Core/SessionState.h"
#include "Signing/VqOAuthWrapper.h"
#include "Tokens/TimedLock.h"
#include "VqUtil/General/Result.h"

#include <VqWebServices/RequestParam.h>
#include <optional>

namespace Velquor::WebServices::Internal {

/// What a product asks to have signed.
struct SigningOrder {
    OAuth::RequestToSign request;
    ParsingMode mode = ParsingMode::AuthorizationHeader;
    /// Fail when the access token has expired, instead of signing with the expired token.
    bool checkExpiry = true;
    /// A token and its secret to sign with instead of the product's access token; empty: the access token.
    QByteArray token;
    QByteArray tokenSecret;
};

/// Signs requests and URLs with a product's access token.
///
/// Thread: any; takes the login session lock itself. Owner: its user's stack. Errors: an empty result and one log line.
class RequestSigning {
public:
    explicit RequestSigning(SessionState& state);

    [[nodiscard]] QByteArray SignRequest(const QString& clientKey, const SigningOrder& order);

    /// The decrypted access token and its secret; false when there are none.
    [[nodiscard]] bool GetAccessToken(const QString& clientKey, bool checkExpiry, Util::SecretBytes& token,
                                      Util::SecretBytes& secret);

private:
    /// Why an operation with the access token cannot be done, in the order in which it is checked.
    enum class Refusal { None, StateNotValid, NoConfiguration, NoProduct, NoToken, NotLoggedIn, Expired };

    /// One operation with a product's access token: the client that asks, and what was found for it.
    struct Access {
        QString clientKey;
        bool checkExpiry = true;
        ProductSessionPointer product;
        bool wasRefreshed = false; ///< A refresh was waited for because the token had expired.
    };

    /// Checks what no wait for tokens can change.
    [[nodiscard]] Refusal checkState(const Access& access) const;
    [[nodiscard]] Refusal check(const Access& access) const;
    /// Names the refusal to a caller who asks for the reason.
    static void report(Refusal refusal);
    /// The log text of a refusal; empty for `None`.
    [[nodiscard]] static QString signingText(Refusal refusal, const QByteArray& url);
    [[nodiscard]] static QString tokenText(Refusal refusal);
    /// The signed text, or the log text of the failure.
    [[nodiscard]] Util::Result<QByteArray> sign(const ProductLoginSession& product, const SigningOrder& order) const;
    /// Waits for a running token query or refresh, and refreshes an expired token when the caller checks the expiry. A caller
    /// that will be refused anyway does not wait. With no lock held.
    void prepareTokens(Access& access);
    /// Prepares the tokens and takes the login session lock, under which the operation goes on when there is no refusal.
    [[nodiscard]] Refusal enter(Access& access, const QString& operation, std::optional<TimedLock>& lock);
    [[nodiscard]] Refusal lockAndCheck(Access& access, const QString& operation, std::optional<TimedLock>& lock) const;
    /// The product's logger, or without a product the logger of all products.
    [[nodiscard]] Log::ILogger& logger(const Access& access) const;
    [[nodiscard]] static QString lockName(const ProductSessionPointer& product, const QString& operation);

    SessionState& m_state;
};

} // namespace Velquor::WebServices::Internal
