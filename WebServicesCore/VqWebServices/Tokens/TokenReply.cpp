#include "Tokens/TokenReply.h"

#include "VqLog/KnownSecrets.h"

#include <QStringList>
#include <algorithm>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumTokenSize = 64 * 1024;
constexpr qint64 longestLifetime = 100LL * 366 * 86400;

} // namespace

bool isUsableToken(const QByteArray& token) {
    return !token.isEmpty() && token.size() <= maximumTokenSize
           && std::all_of(token.begin(), token.end(), [](char character) { return character > 0x20 && character < 0x7f; });
}

QDateTime expiryFrom(const QByteArray& seconds, const QDateTime& now) {
    bool valid = false;
    const qint64 lifetime = seconds.toLongLong(&valid);
    if (!valid || lifetime < 0 || lifetime > longestLifetime)
        return {};
    // Whole seconds, as in the file: a token read back must not look older than the same token in memory.
    return QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch() + lifetime, Qt::UTC);
}

QString missingNames(const QVector<QPair<QString, bool>>& presence) {
    QStringList names;
    for (const auto& item : presence) {
        if (!item.second)
            names += item.first;
    }
    return names.join(QStringLiteral(", "));
}

std::optional<ProductTokens> readTokenReply(const QMap<QString, QByteArray>& reply, const QDateTime& now, Util::ICryptor& cryptor,
                                            Log::ILogger& logger) {
    const QByteArray token = reply.value(QStringLiteral("oauth_token"));
    const QByteArray secret = reply.value(QStringLiteral("oauth_token_secret"));
    const QByteArray handle = reply.value(QStringLiteral("oauth_session_handle"));
    const QDateTime expiry = expiryFrom(reply.value(QStringLiteral("oauth_expires_in")), now);
    const QString missing = missingNames({{QStringLiteral("oauth_token"), isUsableToken(token)},
                                          {QStringLiteral("oauth_token_secret"), isUsableToken(secret)},
                                          {QStringLiteral("oauth_session_handle"), isUsableToken(handle)},
                                          {QStringLiteral("oauth_expires_in"), expiry.isValid()}});
    if (!missing.isEmpty()) {
        logger.error(QStringLiteral("The account server's reply has no usable %1.").arg(missing));
        return {};
    }
    for (const QByteArray& value : {token, secret, handle})
        Log::KnownSecrets::learn(value);
    const ProductTokens encrypted{cryptor.encrypt(token), cryptor.encrypt(secret), cryptor.encrypt(handle), expiry};
    return encrypted.areComplete() ? std::optional<ProductTokens>(encrypted) : std::nullopt;
}

} // namespace Velquor::WebServices::Internal
