#include "Values/OAuth2TokenSpecImp.h"

#include <QStringList>
#include <algorithm>

namespace Velquor::WebServices {

namespace Internal {

QString tokenTypeName(int type) {
    switch (type) {
    case InvalidTokenType: return QStringLiteral("Invalid");
    case RT: return QStringLiteral("RT");
    case JWT: return QStringLiteral("JWT");
    default: return QStringLiteral("Unknown");
    }
}

QString normalisedScope(const QString& scope) {
    QStringList words = scope.trimmed().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (QString& word : words)
        word = word.trimmed();
    words.removeAll(QString());
    // By code unit first, and then a stable sort, so that words that differ only in case have one order too.
    words.sort(Qt::CaseSensitive);
    std::stable_sort(words.begin(), words.end(),
                     [](const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    return words.join(QLatin1Char(' '));
}

} // namespace Internal

using namespace Internal;

bool OAuth2TokenSpecImp::equals(const OAuth2TokenSpecImp& other) const {
    return this == &other
           || (legacy == other.legacy && type == other.type && scope.compare(other.scope, Qt::CaseInsensitive) == 0);
}

QString OAuth2TokenSpecImp::toText() const {
    return QStringLiteral("%1.%2").arg(tokenTypeName(type), scope.isEmpty() ? QStringLiteral("<none>") : scope);
}

QJsonObject OAuth2TokenSpecImp::toJson() const {
    return {
        {QStringLiteral("type"), static_cast<int>(type)}, {QStringLiteral("scope"), scope}, {QStringLiteral("legacy"), legacy}};
}

bool OAuth2TokenSpecImp::fromJson(const QJsonObject& json) {
    if (json.isEmpty())
        return false;
    type = static_cast<OAuth2TokenType>(json.value(QStringLiteral("type")).toInt());
    scope = normalisedScope(json.value(QStringLiteral("scope")).toString());
    legacy = json.value(QStringLiteral("legacy")).toBool();
    return true;
}

} // namespace Velquor::WebServices
