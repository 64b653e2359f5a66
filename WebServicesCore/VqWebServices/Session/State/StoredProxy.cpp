#include "Session/State/StoredProxy.h"

#include "Session/State/StorableText.h"

#include <QNetworkProxy>
#include <QVector>
#include <algorithm>
#include <tuple>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumTextLength = 513;

bool isUnstorable(uint character) {
    return !isStorable(character) || character == QChar::ReplacementCharacter;
}

bool isStorableText(const QString& text) {
    const QVector<uint> characters = text.toUcs4();
    return text.size() <= maximumTextLength && std::none_of(characters.begin(), characters.end(), isUnstorable);
}

} // namespace

bool StoredProxy::isValid() const {
    const bool hasType =
        type == QNetworkProxy::HttpProxy || type == QNetworkProxy::HttpCachingProxy || type == QNetworkProxy::Socks5Proxy;
    return hasType && port > 0 && port <= 65535 && !host.isEmpty() && isStorableText(host) && isStorableText(user);
}

bool StoredProxy::operator!=(const StoredProxy& other) const {
    return std::tie(type, host, port, user, password) != std::tie(other.type, other.host, other.port, other.user, other.password);
}

} // namespace Velquor::WebServices::Internal
