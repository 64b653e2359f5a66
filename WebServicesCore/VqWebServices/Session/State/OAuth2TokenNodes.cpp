#include "Session/State/OAuth2TokenNodes.h"

#include "Session/State/LoginStateElements.h"
#include "Session/State/LoginStateXml.h"
#include "Values/OAuth2TokenSpecImp.h"

namespace Velquor::WebServices::Internal::OAuth2TokenNodes {

namespace Names = LoginStateNames;

namespace {

const auto typeName = QStringLiteral("Type");
const auto scopeName = QStringLiteral("Scope");
const auto tokenName = QStringLiteral("Token");
const auto expiryName = QStringLiteral("ExpiryDate");
const auto olderToken = QStringLiteral("OAuth2AccessToken");
const auto olderExpiry = QStringLiteral("OAuth2TokenExpiryDate");
const auto olderScope = QStringLiteral("OAuth2TokenScope");

// A number, or the type's name.
OAuth2TokenType readType(const QDomElement& element) {
    const int type = LoginStateXml::number(element, typeName, InvalidTokenType);
    if (type == RT || type == JWT)
        return static_cast<OAuth2TokenType>(type);
    for (const OAuth2TokenType named : {RT, JWT}) {
        if (element.attribute(typeName).compare(tokenTypeName(named), Qt::CaseInsensitive) == 0)
            return named;
    }
    return InvalidTokenType;
}

OAuth2TokenData readNode(const QDomElement& element) {
    return {readType(element), normalisedScope(element.attribute(scopeName)), LoginStateXml::secret(element, tokenName),
            LoginStateXml::date(element, expiryName)};
}

OAuth2TokenData readOlderForm(const QDomElement& product) {
    return {RT, normalisedScope(product.attribute(olderScope)), LoginStateXml::secret(product, olderToken),
            LoginStateXml::date(product, olderExpiry)};
}

void add(QVector<OAuth2TokenData>& tokens, const OAuth2TokenData& token) {
    if (token.type == InvalidTokenType || !token.isPresent() || !token.expiryDate.isValid())
        return;
    for (OAuth2TokenData& known : tokens) {
        if (!known.isOfSameKind(token))
            continue;
        if (token.expiryDate > known.expiryDate)
            known = token;
        return;
    }
    tokens += token;
}

QDomElement findNode(const QDomElement& tokens, const OAuth2TokenData& kind) {
    QDomElement element = tokens.firstChildElement(Names::oauth2Token);
    while (!element.isNull() && !readNode(element).isOfSameKind(kind))
        element = element.nextSiblingElement(Names::oauth2Token);
    return element;
}

} // namespace

QVector<OAuth2TokenData> read(const QDomElement& product) {
    QVector<OAuth2TokenData> tokens;
    QDomElement element = product.firstChildElement(Names::oauth2Tokens).firstChildElement(Names::oauth2Token);
    for (; !element.isNull(); element = element.nextSiblingElement(Names::oauth2Token))
        add(tokens, readNode(element));
    add(tokens, readOlderForm(product));
    return tokens;
}

void copy(const QDomElement& earlier, QDomElement& product) {
    const QDomElement tokens = earlier.firstChildElement(Names::oauth2Tokens);
    if (!tokens.isNull())
        product.appendChild(tokens.cloneNode(true));
    put(product, readOlderForm(earlier), false);
}

void put(QDomElement& product, const OAuth2TokenData& token, bool isFresh) {
    // A scope that the file cannot hold would come back as another one.
    if (!token.isPresent() || !token.expiryDate.isValid() || LoginStateXml::storableText(token.scope) != token.scope)
        return;
    QDomElement tokens = LoginStateXml::childOrNew(product, Names::oauth2Tokens);
    QDomElement element = findNode(tokens, token);
    if (!isFresh && !element.isNull() && readNode(element).isPresent() && readNode(element).expiryDate > token.expiryDate)
        return;
    if (element.isNull()) {
        element = tokens.ownerDocument().createElement(Names::oauth2Token);
        tokens.appendChild(element);
    }
    element.setAttribute(typeName, static_cast<int>(token.type));
    element.setAttribute(scopeName, token.scope);
    LoginStateXml::setDate(element, expiryName, token.expiryDate);
    LoginStateXml::setSecret(element, tokenName, token.token);
}

void removeOlderForm(QDomElement& product) {
    put(product, readOlderForm(product), false);
    LoginStateXml::setSecret(product, olderToken, QByteArray());
    product.removeAttribute(olderExpiry);
    product.removeAttribute(olderScope);
}

} // namespace Velquor::WebServices::Internal::OAuth2TokenNodes
