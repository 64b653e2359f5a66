#pragma once

#include "Session/Operations/ProductConfigurator.h"
#include "Session/Store/LoginStateLoader.h"
#include "Session/Store/LoginStateSaver.h"
#include "TestKit/SessionFixture.h"

#include <memory>

namespace Velquor::TestKit {

/// One process of the user as the login state file knows it: its session state, which looks at the shared file only when it is
/// told to, and which nobody listens to. Thread: the test's. Owner: the test.
class StateProcess {
public:
    explicit StateProcess(SessionFixture& fixture, const QString& consumerKey = QStringLiteral("demo-product-0001"),
                          WebServices::Server server = WebServices::Production)
        : core(fixture.services(), &m_events)
        , m_key(consumerKey) {
        using WebServices::WebServicesConfiguration;
        core.clients.add({consumerKey, 1, QStringLiteral("Product of ") + consumerKey, QStringLiteral("/opt/product")});
        core.clients.setConfiguration(consumerKey, std::make_shared<const WebServicesConfiguration>(SessionFixture::configuration(
                                                       consumerKey, QStringLiteral("secret"), server)));
    }

    void restore() {
        WebServices::Internal::LoginStateLoader(core).loadAll(true);
        core.setRestored();
        if (core.isLoggedIn(m_key))
            WebServices::Internal::ProductConfigurator(core).configure(m_key);
    }

    void signIn(const QString& user, const QDateTime& tokenExpiry = QDateTime::currentDateTimeUtc().addSecs(3600)) {
        WebServices::Internal::BasicLoginState state;
        state.clientId = core.services.cryptor->encrypt("client of " + user.toUtf8());
        state.userName = user;
        state.userId = user;
        state.loginDate = WebServices::Internal::loginDateAfter(core.services.now(), core.logoutDate());
        state.sessionExpiryDate = core.services.now().addDays(14);
        core.binding.bind(state);
        core.setBasic(state);
        takeTokens(tokenExpiry);
    }

    /// The product has tokens of its own from now on.
    void takeTokens(const QDateTime& expiry, const QByteArray& token = {}) {
        const auto encrypt = [this](const QByteArray& text) { return core.services.cryptor->encrypt(text); };
        WebServices::Internal::ProductConfigurator(core).configure(m_key)->setTokens(
            {encrypt(token.isEmpty() ? "token of " + m_key.toUtf8() : token), encrypt("secret"), encrypt("handle"), expiry});
    }

    /// Takes over what other processes have written.
    void lookAtFile() {
        const WebServices::Internal::LoginStateFile::Guard guard(core.file);
        const WebServices::Internal::LoginStateFile::Content content = core.file.read();
        WebServices::Internal::LoginStateLoader loader(core);
        if (content.isRead())
            (void)loader.apply(content, false);
        loader.markApplied(content);
    }

    void restoreAndSignIn() {
        restore();
        signIn(QStringLiteral("ada"));
        WebServices::Internal::LoginStateSaver(core).save();
    }

    [[nodiscard]] QByteArray token(const QString& consumerKey) {
        const WebServices::Internal::ProductSessionPointer product = core.products.find(consumerKey, core.currentServer());
        return product ? QByteArray(core.services.cryptor->decrypt(product->tokens().accessToken).toText().toUtf8())
                       : QByteArray();
    }

private:
    class SilentEvents : public WebServices::Internal::ISessionEvents {
    public:
        void raiseEvent(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}
        void raiseEventHere(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}
        void forceLogout(const QString&, const QString&) override {}
        [[nodiscard]] bool isLogoutVetoed(const QString&) override { return false; }
        bool followFile(int) override { return true; }
    };

    SilentEvents m_events;

public:
    WebServices::Internal::SessionState core;

private:
    const QString m_key;
};

} // namespace Velquor::TestKit
