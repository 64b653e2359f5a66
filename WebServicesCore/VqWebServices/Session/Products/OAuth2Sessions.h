#pragma once

#include "Tokens/OAuth2/OAuth2Session.h"

#include <QMap>
#include <QMutex>
#include <QVector>
#include <memory>

namespace Velquor::WebServices::Internal {

class TokenOperations;

using OAuth2SessionPointer = std::shared_ptr<OAuth2Session>;

/// The OAuth2 sessions of one product by token spec, whether OAuth2 is enabled at all, and the tokens that the login state file
/// held when it was last read: a spec may be enabled later.
///
/// Thread: any (its own mutex). Owner: the product's session, whose workers end before the sessions go.
class OAuth2Sessions {
public:
    explicit OAuth2Sessions(std::shared_ptr<Log::ILogger> logger);

    /// Creates the missing sessions. False when none was missing.
    bool enable(const QVector<OAuth2TokenSpec>& specs, ITokenOwner& owner, TokenOperations& operations);
    /// Discards the tokens here; the file keeps them for the processes that use them. False when it was disabled before.
    bool disable();
    [[nodiscard]] bool isEnabled() const;

    /// Null when the spec was never enabled.
    [[nodiscard]] OAuth2SessionPointer find(const OAuth2TokenSpec& spec) const;
    [[nodiscard]] QVector<OAuth2SessionPointer> all() const;

    /// Keeps the tokens of the file, and hands them to the sessions. They are not older than those that the sessions hold.
    void load(const QVector<OAuth2TokenData>& tokens);
    /// The tokens that the sessions hold.
    [[nodiscard]] QVector<OAuth2TokenData> tokens() const;
    void clear();

private:
    void adoptLoaded(OAuth2Session& session) const;
    [[nodiscard]] QVector<OAuth2TokenData> heldTokens() const;

    const std::shared_ptr<Log::ILogger> m_logger;
    mutable QMutex m_mutex;
    bool m_enabled = false;
    QMap<QString, OAuth2SessionPointer> m_sessions;
    QVector<OAuth2TokenData> m_loaded;
};

} // namespace Velquor::WebServices::Internal
