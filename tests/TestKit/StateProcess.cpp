#include "TestKit/StateProcess.h"
#include "Session/Operations/ProductConfigurator.h"

namespace Velquor::TestKit {

using namespace WebServices;
using namespace WebServices::Internal;

StateProcess::StateProcess(SessionFixture& fixture, const QString& consumerKey, Server server)
    : core(fixture.services(), &m_events)
    , m_key(consumerKey) {
    const WebServicesConfiguration configuration = SessionFixture::configuration(consumerKey, "secret", server);
    core.clients().add({consumerKey, 1, "Product of " + consumerKey, "/opt/product"});
    core.clients().setConfiguration(consumerKey, std::make_shared<const WebServicesConfiguration>(configuration));
}

void StateProcess::restore() {
    LockedState state(core);
    LoginStateReader(state).restore();
    state.setRestored();
    if (core.isLoggedIn(m_key))
        ProductConfigurator(state).configure(m_key);
}

void StateProcess::signIn(const QString& user, const QDateTime& tokenExpiry) {
    BasicLoginState state;
    state.clientId = core.services().cryptor->encrypt("client of " + user.toUtf8());
    state.userName = user;
    state.userId = user;
    state.loginDate = loginDateAfter(core.services().now(), core.logoutDate());
    state.sessionExpiryDate = core.services().now().addDays(14);
    core.binding().bind(state);
    setUser(state);
    takeTokens(tokenExpiry);
}

void StateProcess::takeTokens(const QDateTime& expiry, const QByteArray& token) {
    const auto encrypt = [this](const QByteArray& text) { return core.services().cryptor->encrypt(text); };
    const QByteArray text = token.isEmpty() ? "token of " + m_key.toUtf8() : token;
    product()->setTokens({encrypt(text), encrypt("secret"), encrypt("handle"), expiry});
}

void StateProcess::lookAtFile() {
    LockedState state(core);
    (void)LoginStateReader(state).follow();
}

void StateProcess::restoreAndSignIn() {
    restore();
    signIn("ada");
    save();
}

void StateProcess::setUser(const BasicLoginState& user) {
    LockedState(core).setBasic(user);
}

ProductSessionPointer StateProcess::product() {
    LockedState state(core);
    return ProductConfigurator(state).configure(m_key);
}

LoginStateStore::Result StateProcess::save() {
    LockedState state(core);
    return LoginStateStore(state).save();
}

LoginStateStore::Result StateProcess::saveTokens() {
    LockedState state(core);
    return LoginStateStore(state).saveTokens(*core.products().find(m_key, core.currentServer()));
}

LoginStateStore::Result StateProcess::saveSignIn() {
    LockedState state(core);
    return LoginStateStore(state).saveSignIn(*product());
}

bool StateProcess::endSignIn() {
    LockedState state(core);
    return LoginStateStore(state).endSignIn(core.basic(), LoginStateStore::EndedBy::User);
}

QByteArray StateProcess::token(const QString& consumerKey) {
    const ProductSessionPointer product = core.products().find(consumerKey, core.currentServer());
    return product ? QByteArray(core.services().cryptor->decrypt(product->tokens().accessToken).toText().toUtf8()) : QByteArray();
}

} // namespace Velquor::TestKit
