#include "Session/State/LoginStateDocument.h"

#include "Session/State/StorableText.h"
#include "Values/LibraryVersion.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "Values/ServerName.h"

#include <QSet>
#include <algorithm>
#include <utility>
#include <vector>

namespace Velquor::WebServices::Internal {

using Util::XmlElement;

namespace {

const auto rootName = QStringLiteral("WebServices");
const auto createdName = QStringLiteral("CreatedDate");
const auto settingsName = QStringLiteral("Settings");
const auto proxyName = QStringLiteral("ProxySettings");
const auto loginName = QStringLiteral("LoginSession");
const auto cookiesName = QStringLiteral("Cookies");
const auto productsName = QStringLiteral("Products");
const auto productName = QStringLiteral("Product");
const auto productKeyName = QStringLiteral("ProductKey");
const auto serverAttribute = QStringLiteral("Server");
const auto oauth2TokensName = QStringLiteral("OAuth2Tokens");
const auto oauth2TokenName = QStringLiteral("OAuth2Token");
const auto typeName = QStringLiteral("Type");
const auto scopeName = QStringLiteral("Scope");
const auto olderTokenName = QStringLiteral("OAuth2AccessToken");
const auto olderExpiryName = QStringLiteral("OAuth2TokenExpiryDate");
const auto olderScopeName = QStringLiteral("OAuth2TokenScope");

// An absent element reads as one without anything in it.
const XmlElement& orEmpty(const XmlElement* element) {
    static const XmlElement none;
    return element ? *element : none;
}

std::optional<int> number(const XmlElement& element, const QString& name) {
    bool isNumber = false;
    const int value = element.attribute(name).toInt(&isNumber);
    return isNumber ? std::optional<int>(value) : std::nullopt;
}

QDateTime date(const XmlElement& element, const QString& name) {
    const QDateTime read = QDateTime::fromString(element.attribute(name), Qt::ISODate);
    return read.isValid() ? read.toUTC() : QDateTime();
}

void setDate(XmlElement& element, const QString& name, const QDateTime& value) {
    // The same moment may have been written in another form.
    if (element.hasAttribute(name) && date(element, name) == value)
        return;
    element.setAttribute(name, value.isValid() ? value.toUTC().toString(Qt::ISODate) : QString());
}

QByteArray secret(const XmlElement& parent, const QString& name) {
    return orEmpty(parent.child(name)).text().trimmed().toLatin1();
}

void setSecret(XmlElement& parent, const QString& name, const QByteArray& encrypted) {
    if (secret(parent, name) == encrypted)
        return;
    if (encrypted.isEmpty())
        parent.removeChildren(name);
    else
        parent.childOrNew(name).setCData(QString::fromLatin1(encrypted));
}

std::optional<int> readCurrentServer(const XmlElement& settings) {
    const std::optional<int> server = number(settings, QStringLiteral("CurrentServer"));
    return server && (isRealServer(*server) || server == static_cast<int>(NoServer)) ? server : std::nullopt;
}

BasicLoginState readUser(const XmlElement& login) {
    BasicLoginState user;
    user.clientId = secret(login, QStringLiteral("ClientId"));
    user.ntUserName = secret(login, QStringLiteral("NTUserName"));
    user.machineAddress = secret(login, QStringLiteral("MachineAddress"));
    user.loginCookies = secret(orEmpty(login.child(cookiesName)), QStringLiteral("LoginCookies"));
    user.userName = login.attribute(QStringLiteral("UserName"));
    user.userId = login.attribute(QStringLiteral("UserId"));
    user.ldapDomainKey = login.attribute(QStringLiteral("LdapDomainKey"));
    user.loginDate = date(login, QStringLiteral("LoginDate"));
    user.sessionExpiryDate = date(login, QStringLiteral("SessionExpiryDate"));
    return user;
}

void writeUser(XmlElement& login, const BasicLoginState& user) {
    login.setAttribute(QStringLiteral("UserName"), storableText(user.userName));
    login.setAttribute(QStringLiteral("UserId"), storableText(user.userId));
    login.setAttribute(QStringLiteral("LdapDomainKey"), storableText(user.ldapDomainKey));
    setDate(login, QStringLiteral("SessionExpiryDate"), user.sessionExpiryDate);
    setDate(login, QStringLiteral("LoginDate"), user.loginDate);
    setSecret(login, QStringLiteral("ClientId"), user.clientId);
    setSecret(login, QStringLiteral("NTUserName"), user.ntUserName);
    setSecret(login, QStringLiteral("MachineAddress"), user.machineAddress);
    setSecret(login.childOrNew(cookiesName), QStringLiteral("LoginCookies"), user.loginCookies);
}

// A number, or the type's name.
OAuth2TokenType readType(const XmlElement& element) {
    for (const OAuth2TokenType type : {RT, JWT}) {
        if (number(element, typeName) == static_cast<int>(type)
            || element.attribute(typeName).compare(tokenTypeName(type), Qt::CaseInsensitive) == 0)
            return type;
    }
    return InvalidTokenType;
}

OAuth2TokenData readOAuth2Token(const XmlElement& element) {
    return {readType(element), normalisedScope(element.attribute(scopeName)), secret(element, QStringLiteral("Token")),
            date(element, QStringLiteral("ExpiryDate"))};
}

OAuth2TokenData readOlderForm(const XmlElement& product) {
    return {RT, normalisedScope(product.attribute(olderScopeName)), secret(product, olderTokenName),
            date(product, olderExpiryName)};
}

bool isUsable(const OAuth2TokenData& token) {
    return token.type != InvalidTokenType && token.isPresent() && token.expiryDate.isValid();
}

// Of two tokens of a kind in one product the one that ends later is taken: one of them is of the older form.
void addLater(QVector<OAuth2TokenData>& tokens, const OAuth2TokenData& token) {
    if (!isUsable(token))
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

QVector<OAuth2TokenData> readOAuth2Tokens(const XmlElement& product) {
    QVector<OAuth2TokenData> tokens;
    for (const XmlElement* const element : orEmpty(product.child(oauth2TokensName)).children(oauth2TokenName))
        addLater(tokens, readOAuth2Token(*element));
    addLater(tokens, readOlderForm(product));
    return tokens;
}

void writeOAuth2Token(XmlElement& element, const OAuth2TokenData& token) {
    element.setAttribute(typeName, QString::number(token.type));
    element.setAttribute(scopeName, token.scope);
    setDate(element, QStringLiteral("ExpiryDate"), token.expiryDate);
    setSecret(element, QStringLiteral("Token"), token.token);
}

XmlElement* findOAuth2Token(XmlElement& parent, const OAuth2TokenData& kind) {
    const std::vector<XmlElement*> elements = parent.children(oauth2TokenName);
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [&](const XmlElement* element) { return readOAuth2Token(*element).isOfSameKind(kind); });
    return found == elements.end() ? nullptr : *found;
}

// Elements that cannot be understood stay.
void removeOtherKinds(XmlElement& parent, const StoredProduct& product) {
    const std::vector<XmlElement*> elements = parent.children(oauth2TokenName);
    for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
        const OAuth2TokenData token = readOAuth2Token(**element);
        if (isUsable(token) && !product.oauth2Token(token))
            parent.remove(*element);
    }
}

// The single token of the older form becomes one of the present form.
void writeOAuth2Tokens(XmlElement& element, const StoredProduct& product) {
    if (XmlElement* const parent = element.child(oauth2TokensName))
        removeOtherKinds(*parent, product);
    for (const OAuth2TokenData& token : product.oauth2Tokens) {
        // A scope that the file cannot hold would come back as another one.
        if (!isUsable(token) || storableText(token.scope) != token.scope)
            continue;
        XmlElement& parent = element.childOrNew(oauth2TokensName);
        XmlElement* const known = findOAuth2Token(parent, token);
        writeOAuth2Token(known ? *known : parent.append(XmlElement(oauth2TokenName)), token);
    }
    element.removeChildren(olderTokenName);
    element.removeAttribute(olderExpiryName);
    element.removeAttribute(olderScopeName);
}

StoredProduct readProduct(const XmlElement& element) {
    StoredProduct product;
    product.productKey = element.attribute(productKeyName);
    product.name = element.attribute(QStringLiteral("Name"));
    product.exeName = element.attribute(QStringLiteral("ExeName"));
    product.serialNumber = element.attribute(QStringLiteral("SerialNumber"));
    product.server = number(element, serverAttribute).value_or(-1);
    product.tokens.accessToken = secret(element, QStringLiteral("AccessToken"));
    product.tokens.accessTokenSecret = secret(element, QStringLiteral("AccessTokenSecret"));
    product.tokens.sessionHandle = secret(element, QStringLiteral("SessionHandle"));
    product.tokens.expiryDate = date(element, QStringLiteral("TokenExpiryDate"));
    product.oauth2Tokens = readOAuth2Tokens(element);
    product.hasOlderToken = element.child(olderTokenName) != nullptr;
    return product;
}

void writeProduct(XmlElement& element, const StoredProduct& product) {
    element.setAttribute(QStringLiteral("Name"), storableText(product.name));
    element.setAttribute(QStringLiteral("ExeName"), storableText(product.exeName));
    element.setAttribute(QStringLiteral("SerialNumber"), storableText(product.serialNumber));
    element.setAttribute(serverAttribute, QString::number(product.server));
    element.setAttribute(productKeyName, product.productKey);
    setDate(element, QStringLiteral("TokenExpiryDate"), product.tokens.expiryDate);
    setSecret(element, QStringLiteral("AccessToken"), product.tokens.accessToken);
    setSecret(element, QStringLiteral("AccessTokenSecret"), product.tokens.accessTokenSecret);
    setSecret(element, QStringLiteral("SessionHandle"), product.tokens.sessionHandle);
    writeOAuth2Tokens(element, product);
}

XmlElement* findProduct(XmlElement& products, const QString& productKey) {
    const std::vector<XmlElement*> elements = products.children(productName);
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [&](const XmlElement* element) { return element->attribute(productKeyName) == productKey; });
    return found == elements.end() ? nullptr : *found;
}

void putProduct(XmlElement& products, const StoredProduct& product) {
    if (product.productKey.isEmpty())
        return;
    XmlElement* const known = findProduct(products, product.productKey);
    if (!known)
        writeProduct(products.append(XmlElement(productName)), product);
    else if (!(readProduct(*known) == product))
        writeProduct(*known, product);
}

// The first product of a key counts.
void removeDoubles(XmlElement& products) {
    QSet<QString> keys;
    std::vector<const XmlElement*> doubles;
    for (const XmlElement* const element : products.children(productName)) {
        const QString key = element->attribute(productKeyName);
        if (keys.contains(key))
            doubles.push_back(element);
        else if (!key.isEmpty())
            keys.insert(key);
    }
    // From the back, since a removal moves what stands behind it.
    for (; !doubles.empty(); doubles.pop_back())
        products.remove(doubles.back());
}

} // namespace

LoginStateDocument::LoginStateDocument(const QString& created)
    : m_text(rootName) {
    if (!created.isEmpty())
        m_text.root().setAttribute(createdName, created);
}

Util::Result<LoginStateDocument> LoginStateDocument::parse(const QByteArray& text) {
    Util::Result<Util::XmlText> parsed = Util::XmlText::parse(text, limits);
    if (!parsed)
        return Util::Failure{parsed.reason()};
    if (parsed->root().name() != rootName)
        return Util::Failure{QStringLiteral("The document element is not %1").arg(rootName)};
    return LoginStateDocument(std::move(*parsed));
}

Util::Result<QByteArray> LoginStateDocument::toBytes() const {
    return m_text.toReadableBytes(limits);
}

LoginState LoginStateDocument::state() const {
    LoginState state;
    const XmlElement* const settings = m_text.root().child(settingsName);
    const XmlElement* const login = m_text.root().child(loginName);
    state.created = m_text.root().attribute(createdName);
    state.hasSettings = settings != nullptr;
    state.currentServer = readCurrentServer(orEmpty(settings));
    state.logoutDate = date(orEmpty(settings), QStringLiteral("LogoutDate"));
    state.hasSignIn = login != nullptr;
    state.signInServer = number(orEmpty(login), serverAttribute).value_or(-1);
    state.user = readUser(orEmpty(login));
    for (const XmlElement* const element : orEmpty(orEmpty(login).child(productsName)).children(productName)) {
        const StoredProduct product = readProduct(*element);
        if (!state.product(product.productKey))
            state.products += product;
    }
    return state;
}

void LoginStateDocument::setState(const LoginState& state) {
    writeSettings(state);
    // Only the first one is read. The next one would surface when it goes.
    m_text.root().removeChildren(loginName, state.hasSignIn ? 1 : 0);
    if (state.hasSignIn)
        writeSignIn(state);
}

void LoginStateDocument::writeSettings(const LoginState& state) {
    XmlElement& settings = m_text.root().childOrNew(settingsName);
    if (state.currentServer)
        settings.setAttribute(QStringLiteral("CurrentServer"), QString::number(*state.currentServer));
    setDate(settings, QStringLiteral("LogoutDate"), state.logoutDate);
    const auto reminder = QStringLiteral("LastLoginReminderDate");
    settings.setAttribute(reminder, settings.attribute(reminder));
    const auto suppress = QStringLiteral("SuppressLoginReminder");
    if (settings.attribute(suppress).isEmpty())
        settings.setAttribute(suppress, QStringLiteral("False"));
}

void LoginStateDocument::writeSignIn(const LoginState& state) {
    XmlElement& login = m_text.root().childOrNew(loginName);
    const bool isOtherServer = number(login, serverAttribute).value_or(state.signInServer) != state.signInServer;
    if (isOtherServer || !readUser(login).isSameSignIn(state.user))
        // Tokens of one sign-in must never be written into another.
        login = XmlElement(loginName);
    login.setAttribute(serverAttribute, QString::number(state.signInServer));
    if (!(readUser(login) == state.user))
        writeUser(login, state.user);
    XmlElement& products = login.childOrNew(productsName);
    removeDoubles(products);
    for (const StoredProduct& product : state.products)
        putProduct(products, product);
}

void LoginStateDocument::setSavedByVersion() {
    m_text.root().setAttribute(QStringLiteral("LastSavedByVersion"), libraryVersion());
}

void LoginStateDocument::setSavedBy(const QString& program) {
    setSavedByVersion();
    m_text.root().setAttribute(QStringLiteral("LastSavedBy"), storableText(program));
}

bool LoginStateDocument::hasProxy() const {
    return m_text.root().child(proxyName) != nullptr;
}

std::optional<StoredProxy> LoginStateDocument::proxy() const {
    const XmlElement* const element = m_text.root().child(proxyName);
    if (!element)
        return {};
    return StoredProxy{number(*element, typeName).value_or(-1), element->attribute(QStringLiteral("Host")),
                       number(*element, QStringLiteral("Port")).value_or(0), element->attribute(QStringLiteral("User")),
                       secret(*element, QStringLiteral("Password"))};
}

void LoginStateDocument::setProxy(const StoredProxy& proxy) {
    XmlElement& element = m_text.root().childOrNew(proxyName);
    element.setAttribute(typeName, QString::number(proxy.type));
    element.setAttribute(QStringLiteral("Host"), proxy.host);
    element.setAttribute(QStringLiteral("Port"), QString::number(proxy.port));
    element.setAttribute(QStringLiteral("User"), proxy.user);
    setSecret(element, QStringLiteral("Password"), proxy.password);
}

void LoginStateDocument::removeProxy() {
    m_text.root().removeChildren(proxyName);
}

} // namespace Velquor::WebServices::Internal
