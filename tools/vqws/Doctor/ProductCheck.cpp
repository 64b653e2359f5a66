#include "Cancellation.h"
#include "Doctor/Checks.h"
#include "HttpReply.h"
#include "Library.h"
#include "UrlFile.h"

#include <QUrlQuery>
#include <VqWebServices/WebServicesPrivate.h>
#include <algorithm>
#include <array>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int urlSize = 8192;

const auto name = QStringLiteral("product");

QUrl accountDocument() {
    const QString server = WebServicesPrivate::GetUrl(QStringLiteral("AccountServerUrl"));
    const QString path = WebServicesPrivate::GetUrl(QStringLiteral("IdentityAccountFolderEndPoint"));
    if (server.isEmpty() || path.isEmpty())
        return {};
    QUrl url(joinedAddress(server, path));
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("format"), QStringLiteral("xml"));
    url.setQuery(query);
    return url;
}

const auto giveRight =
    QStringLiteral("whoever made the product must give it the key and the secret that the account server has for it");

Cure signInNewly(const SetUp& setUp) {
    return signOutAndIn(setUp, QStringLiteral("sign out and in again in any product, or here"));
}

// A token that nobody sees is asked for, since nobody is signed in.
Findings checkKeys(const Library& library) {
    std::array<wchar_t, urlSize> url{};
    LoginErrorEx error = LoginErrorEx::None;
    int status = 0;
    if (library.manager().InitiateLogin(nullptr, url.data(), urlSize, error, status))
        return {ok(name, QStringLiteral("the account server accepts its key and secret"))};
    // Other refusals, such as of the name of the host, are not about the product.
    if (error == LoginErrorEx::Refused && status <= Status::forbidden)
        return {
            fault(name, QStringLiteral("the account server refuses its key or secret (status %1)").arg(status), act(giveRight))};
    return {fault(name, QStringLiteral("a sign-in cannot begin (error %1, status %2)").arg(static_cast<int>(error)).arg(status),
                  act(QStringLiteral("read why in the last lines of %1").arg(WebServicesPrivate::GetLogFile())))};
}

// The reason that the server gives, in a header or in the body.
bool blames(const HttpReply& reply, const char* what) {
    return reply.body.contains(what) || std::any_of(reply.headers.begin(), reply.headers.end(), [what](const QByteArray& value) {
               return value.contains(what);
           });
}

Finding checkAnswer(const HttpReply& reply, const SetUp& setUp) {
    const QString status = QStringLiteral(" (status %1)").arg(reply.status);
    if (reply.status == Status::unauthorized && (blames(reply, "signature_invalid") || blames(reply, "consumer_key")))
        return fault(name, QStringLiteral("the account server refuses its secret") + status, act(giveRight));
    if (reply.status == Status::unauthorized)
        return fault(name, QStringLiteral("the account server refuses its token") + status, signInNewly(setUp));
    if (reply.status < Status::success || reply.status >= Status::badRequest)
        return warning(name, QStringLiteral("the account server does not give the user's profile") + status,
                       act(QStringLiteral("whoever runs the server must look at IdentityAccountFolderEndPoint")));
    return ok(name, QStringLiteral("the account server accepts its token"));
}

Findings checkTokens(const Library& library, const SetUp& setUp, const Cancellation& cancellation) {
    const QString url = QString::fromLatin1(accountDocument().toEncoded());
    if (url.isEmpty())
        return {};
    const QString authorization = library.signedRequest(url, HttpMethod::Get, ParsingMode::AuthorizationHeader);
    if (authorization.isEmpty())
        return {fault(name, QStringLiteral("it has no valid token; the log says why"), signInNewly(setUp))};
    return {checkAnswer(httpGet(QUrl(url), authorization, cancellation), setUp)};
}

} // namespace

Findings checkProduct(const Library& library, const SetUp& setUp, const Cancellation& cancellation) {
    return library.manager().IsLoggedIn() ? checkTokens(library, setUp, cancellation) : checkKeys(library);
}

Findings checkKeysOfRun(const Library& library) {
    const ClientKeys& keys = library.keys();
    if (keys.key.isEmpty() && keys.secret.isEmpty())
        return {ok(name, QStringLiteral("not checked, since no key and no secret of a product were given"))};
    return {keys.key.isEmpty() ? fault(name, QStringLiteral("this run has a secret, but no key"),
                                       act(QStringLiteral("give --key, or set VQWS_CONSUMER_KEY")))
                               : fault(name, QStringLiteral("this run has a key, but no secret"),
                                       act(QStringLiteral("give --secret-file, or set VQWS_CONSUMER_SECRET")))};
}

} // namespace Vqws
