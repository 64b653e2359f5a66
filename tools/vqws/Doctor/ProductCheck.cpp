#include "Cancellation.h"
#include "Doctor/Checks.h"
#include "HttpReply.h"
#include "Library.h"
#include "UrlFile.h"

#include <QUrlQuery>
#include <VqWebServices/WebServicesPrivate.h>
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

// A token that nobody sees is asked for, since nobody is signed in.
Findings checkKeys(const Library& library) {
    std::array<wchar_t, urlSize> url{};
    LoginErrorEx error = LoginErrorEx::None;
    int status = 0;
    if (library.manager().InitiateLogin(nullptr, url.data(), urlSize, error, status))
        return {ok(name, QStringLiteral("the account server accepts its key and secret"))};
    if (error != LoginErrorEx::Refused)
        return {};
    return {fault(name, QStringLiteral("the account server refuses its key or secret (status %1)").arg(status),
                  QStringLiteral("give the key and the secret that the account server has for this product"))};
}

Findings checkTokens(const Library& library, const Cancellation& cancellation) {
    const QString url = QString::fromLatin1(accountDocument().toEncoded());
    const QString authorization =
        url.isEmpty() ? QString() : library.signedRequest(url, HttpMethod::Get, ParsingMode::AuthorizationHeader);
    if (url.isEmpty())
        return {};
    if (authorization.isEmpty())
        return {fault(name, QStringLiteral("it has no valid token; the log says why"),
                      QStringLiteral("sign out and in again: \"vqws logout\" and \"vqws login\""))};
    const HttpReply reply = httpGet(QUrl(url), authorization, cancellation);
    if (reply.status == Status::unauthorized)
        return {fault(name, QStringLiteral("the account server refuses its token or its secret (status %1)").arg(reply.status),
                      QStringLiteral("check its secret, then sign out and in again: \"vqws logout\" and \"vqws login\""))};
    return {ok(name, QStringLiteral("the account server accepts its token"))};
}

} // namespace

Findings checkProduct(const Library& library, const Cancellation& cancellation) {
    return library.manager().IsLoggedIn() ? checkTokens(library, cancellation) : checkKeys(library);
}

} // namespace Vqws
