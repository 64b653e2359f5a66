#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Commands/StateObjects.h"
#include "Library.h"
#include "Output.h"
#include "Texts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

struct TokenState {
    bool isAvailable = false;
    bool isExpired = false;
    QDateTime expires;
};

struct Status {
    bool isSignedIn = false;
    bool isValid = false;
    QString user;
    QString userId;
    QDateTime loginExpires;
    QString server;
    QString accountServer;
    QString loginStateFile;
    bool hasProxy = false;
    bool hasProduct = false;
    TokenState token;
    bool isOAuth2Enabled = false;
    TokenState oauth2;
    QStringList products;
};

QStringList productTexts() {
    const QJsonObject dump = QJsonDocument::fromJson(WebServicesPrivate::GetLoginSessionDump()).object();
    const QJsonArray sessions =
        dump.value(QLatin1String("LoginSession")).toObject().value(QLatin1String("ProductLoginSessions")).toArray();
    QStringList texts;
    for (const QJsonValue& session : sessions) {
        const auto server = static_cast<Server>(session.toObject().value(QLatin1String("Server")).toInt(NoServer));
        texts +=
            QStringLiteral("%1 (%2)").arg(session.toObject().value(QLatin1String("ProductName")).toString(), serverText(server));
    }
    return texts;
}

void readTokens(WebServicesManager& manager, Status& status) {
    status.token = {manager.IsTokenAvailable(), manager.IsTokenExpired(), dateOf(manager.GetTokenExpiryDate())};
    status.isOAuth2Enabled = manager.IsOAuth2Enabled();
    if (status.isOAuth2Enabled)
        status.oauth2 = {manager.IsOAuth2TokenAvailable(), manager.IsOAuth2TokenExpired(),
                         dateOf(manager.GetOAuth2TokenExpiryDate())};
    status.products = productTexts();
}

Status read(const Library& library) {
    WebServicesManager& manager = library.manager();
    Status status;
    // The server first: when the login is not restored, GetServer() loads the user from the file.
    status.server = serverText(manager.GetServer());
    status.isSignedIn = manager.IsLoggedIn() || !library.userName().isEmpty();
    status.isValid = status.isSignedIn && !manager.IsLoginExpired();
    status.user = library.userName();
    status.userId = library.userId();
    status.loginExpires = dateOf(manager.GetLoginExpiryDate());
    status.accountServer = WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl"));
    status.loginStateFile = bufferText([&](wchar_t* buffer, int size) { return manager.GetLoginStateFile(buffer, size); });
    status.hasProxy = manager.HasProxyInfo();
    status.hasProduct = library.hasProduct();
    if (status.hasProduct)
        readTokens(manager, status);
    return status;
}

QString tokenText(const TokenState& token) {
    if (!token.isAvailable)
        return QStringLiteral("none");
    return (token.isExpired ? QStringLiteral("expired ") : QStringLiteral("valid until ")) + dateText(token.expires);
}

QJsonObject tokenObject(const TokenState& token) {
    return {{QStringLiteral("available"), token.isAvailable},
            {QStringLiteral("expired"), token.isExpired},
            {QStringLiteral("expires"), known(token.expires)}};
}

QString orNone(const QString& text) {
    return text.isEmpty() ? QStringLiteral("none") : text;
}

void showUser(const Output& output, const Status& status) {
    output.row(QStringLiteral("Signed in"), !status.isSignedIn ? QStringLiteral("no")
                                            : status.isValid   ? QStringLiteral("yes")
                                                               : QStringLiteral("expired"));
    if (!status.isSignedIn)
        return;
    output.row(QStringLiteral("User"), status.user);
    output.row(QStringLiteral("User id"), status.userId);
    output.row(QStringLiteral("Login expires"), dateText(status.loginExpires));
}

void show(const Output& output, const Status& status) {
    showUser(output, status);
    output.row(QStringLiteral("Server"), status.server);
    output.row(QStringLiteral("Account server"), orNone(status.accountServer));
    if (status.hasProduct) {
        output.row(QStringLiteral("Access token"), tokenText(status.token));
        output.row(QStringLiteral("OAuth2 token"),
                   status.isOAuth2Enabled ? tokenText(status.oauth2) : QStringLiteral("not enabled"));
        output.row(QStringLiteral("Products"), orNone(status.products.join(QStringLiteral(", "))));
    }
    output.row(QStringLiteral("Stored proxy"), status.hasProxy ? QStringLiteral("yes") : QStringLiteral("no"));
    output.row(QStringLiteral("Login state file"), status.loginStateFile);
    output.row(QStringLiteral("Log file"), WebServicesPrivate::GetLogFile());
    output.row(QStringLiteral("Log configuration"), orNone(WebServicesPrivate::GetLogConfigFile()));
}

QJsonObject toObject(const Status& status) {
    QJsonObject object{{QStringLiteral("signedIn"), status.isSignedIn},
                       {QStringLiteral("valid"), status.isValid},
                       {QStringLiteral("user"), known(status.user)},
                       {QStringLiteral("userId"), known(status.userId)},
                       {QStringLiteral("loginExpires"), known(status.loginExpires)},
                       {QStringLiteral("server"), status.server},
                       {QStringLiteral("accountServer"), known(status.accountServer)},
                       {QStringLiteral("storedProxy"), status.hasProxy},
                       {QStringLiteral("loginStateFile"), status.loginStateFile},
                       {QStringLiteral("logFile"), WebServicesPrivate::GetLogFile()},
                       {QStringLiteral("logConfiguration"), known(WebServicesPrivate::GetLogConfigFile())}};
    if (status.hasProduct) {
        object.insert(QStringLiteral("accessToken"), tokenObject(status.token));
        object.insert(QStringLiteral("oauth2Enabled"), status.isOAuth2Enabled);
        object.insert(QStringLiteral("oauth2Token"), tokenObject(status.oauth2));
        object.insert(QStringLiteral("products"), QJsonArray::fromStringList(status.products));
    }
    return object;
}

} // namespace

QJsonObject statusObject(const Library& library) {
    return toObject(read(library));
}

ExitCode runStatus(Context& context) {
    Library library(context);
    const ExitCode opened = library.open(Library::Need::Nothing);
    if (opened != ExitCode::Ok)
        return opened;
    const Status status = read(library);
    show(context.output, status);
    const ExitCode code = status.isSignedIn ? ExitCode::Ok : ExitCode::NotSignedIn;
    context.output.object(toObject(status), code);
    return code;
}

} // namespace Vqws
