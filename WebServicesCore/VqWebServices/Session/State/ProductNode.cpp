#include "Session/State/ProductNode.h"

#include "Session/State/LoginStateElements.h"
#include "Session/State/LoginStateXml.h"
#include "Session/State/OAuth2TokenNodes.h"

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

namespace {
const auto accessTokenName = QStringLiteral("AccessToken");
const auto accessTokenSecretName = QStringLiteral("AccessTokenSecret");
const auto sessionHandleName = QStringLiteral("SessionHandle");
const auto nameAttribute = QStringLiteral("Name");
const auto exeNameAttribute = QStringLiteral("ExeName");
} // namespace

ProductNode readProductNode(const QDomElement& product) {
    ProductNode node;
    node.name = product.attribute(nameAttribute);
    node.exeName = product.attribute(exeNameAttribute);
    node.productKey = product.attribute(Names::productKey);
    node.tokens.accessToken = readAccessToken(product);
    node.tokens.accessTokenSecret = LoginStateXml::secret(product, accessTokenSecretName);
    node.tokens.sessionHandle = LoginStateXml::secret(product, sessionHandleName);
    node.tokens.expiryDate = LoginStateXml::date(product, Names::tokenExpiryDate);
    node.oauth2Tokens = OAuth2TokenNodes::read(product);
    return node;
}

QByteArray readAccessToken(const QDomElement& product) {
    return LoginStateXml::secret(product, accessTokenName);
}

void writeProductNode(QDomElement& product, const ProductNode& node, const QDomElement& earlier) {
    LoginStateXml::setText(product, nameAttribute, node.name);
    LoginStateXml::setText(product, exeNameAttribute, node.exeName);
    LoginStateXml::setText(product, QStringLiteral("SerialNumber"), node.serialNumber);
    product.setAttribute(Names::server, node.server);
    product.setAttribute(Names::productKey, node.productKey);
    LoginStateXml::setDate(product, Names::tokenExpiryDate, node.tokens.expiryDate);
    LoginStateXml::setSecret(product, accessTokenName, node.tokens.accessToken);
    LoginStateXml::setSecret(product, accessTokenSecretName, node.tokens.accessTokenSecret);
    LoginStateXml::setSecret(product, sessionHandleName, node.tokens.sessionHandle);
    OAuth2TokenNodes::copy(earlier, product);
    for (const OAuth2TokenData& token : node.oauth2Tokens)
        OAuth2TokenNodes::put(product, token, false);
}

} // namespace Velquor::WebServices::Internal
