#include "Session/Products/OAuth2Sessions.h"

#include "Session/Products/TokenOperations.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

QString keyOf(const OAuth2TokenSpec& spec) {
    const OAuth2TokenSpecImp& data = OAuth2TokenSpecImp::of(spec);
    return QStringLiteral("%1.%2").arg(data.legacy ? 1 : 0).arg(data.toText().toLower());
}

} // namespace

OAuth2Sessions::OAuth2Sessions(std::shared_ptr<Log::ILogger> logger)
    : m_logger(std::move(logger)) {}

bool OAuth2Sessions::enable(const QVector<OAuth2TokenSpec>& specs, ITokenOwner& owner, TokenOperations& operations) {
    const QMutexLocker lock(&m_mutex);
    bool hasChanged = !std::exchange(m_enabled, true);
    if (hasChanged)
        m_logger->information(QStringLiteral("OAuth2 enabled in product login session"));
    for (const OAuth2TokenSpec& spec : specs) {
        OAuth2SessionPointer session = m_sessions.value(keyOf(spec));
        if (!session) {
            m_logger->information(QStringLiteral("Creating OAuth2Session object %1").arg(OAuth2TokenSpecImp::of(spec).toText()));
            session = std::make_shared<OAuth2Session>(owner, spec);
            if (!operations.activate(*session))
                continue;
            m_sessions.insert(keyOf(spec), session);
            hasChanged = true;
        }
        // A session that has a token may have obtained it since the file was read.
        if (!session->token().isPresent())
            adoptLoaded(*session);
    }
    return hasChanged;
}

bool OAuth2Sessions::disable() {
    {
        const QMutexLocker lock(&m_mutex);
        if (!std::exchange(m_enabled, false))
            return false;
        // The file still holds the tokens. Keep them for the next client that enables OAuth2.
        m_loaded += heldTokens();
    }
    m_logger->information(QStringLiteral("OAuth2 disabled in product login session"));
    for (const OAuth2SessionPointer& session : all())
        session->DiscardToken();
    return true;
}

bool OAuth2Sessions::isEnabled() const {
    const QMutexLocker lock(&m_mutex);
    return m_enabled;
}

OAuth2SessionPointer OAuth2Sessions::find(const OAuth2TokenSpec& spec) const {
    const QMutexLocker lock(&m_mutex);
    return m_enabled ? m_sessions.value(keyOf(spec)) : OAuth2SessionPointer();
}

QVector<OAuth2SessionPointer> OAuth2Sessions::all() const {
    const QMutexLocker lock(&m_mutex);
    return m_sessions.values().toVector();
}

void OAuth2Sessions::adoptLoaded(OAuth2Session& session) const {
    const OAuth2TokenData kind{session.spec().GetType(), session.scope(), {}, {}};
    for (const OAuth2TokenData& token : m_loaded) {
        if (token.isOfSameKind(kind))
            session.adopt(token);
    }
}

void OAuth2Sessions::load(const QVector<OAuth2TokenData>& tokens) {
    const QMutexLocker lock(&m_mutex);
    m_loaded = tokens;
    if (!m_enabled)
        return;
    for (const OAuth2SessionPointer& session : std::as_const(m_sessions))
        adoptLoaded(*session);
}

QVector<OAuth2TokenData> OAuth2Sessions::heldTokens() const {
    QVector<OAuth2TokenData> held;
    for (const OAuth2SessionPointer& session : m_sessions)
        held += session->token();
    return held;
}

QVector<OAuth2TokenData> OAuth2Sessions::tokens() const {
    const QMutexLocker lock(&m_mutex);
    return heldTokens();
}

void OAuth2Sessions::clear() {
    {
        const QMutexLocker lock(&m_mutex);
        m_loaded.clear();
    }
    for (const OAuth2SessionPointer& session : all())
        session->Clear();
}

} // namespace Velquor::WebServices::Internal
