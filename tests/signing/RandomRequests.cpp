#include "signing/RandomRequests.h"

#include "Signing/IVqOAuthHost.h"

namespace Velquor::TestKit {

using namespace OAuth;

RandomRequests::RandomRequests(const IVqOAuthHost& host, quint32 seed)
    : m_host(host)
    , m_random(seed) {}

// UTF-8 text of blanks, reserved and unreserved characters, and characters of two to four bytes.
QByteArray RandomRequests::text(int longest) {
    static const QByteArray others("a B 0 9 - . _ ~ + % & = / ? # : ; , @ ! * ' ( ) $ [ ] \" < \\ ^ ` { | %20 %2B "
                                   "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x94\x91 \t \n \x7f");
    static const QList<QByteArray> pieces = others.split(' ') << " ";
    QByteArray made;
    for (int left = below(longest + 1); left > 0; --left)
        made += pieces.at(below(pieces.size()));
    return made;
}

// Blanks go over the wire as "+" or "%20", harmless characters encoded or as they are.
QByteArray RandomRequests::wireText(const QByteArray& decoded) {
    QByteArray made;
    for (const char letter : decoded) {
        const bool mayStay = QByteArray("!*'()$,:@/?").contains(letter);
        if (letter == ' ' && below(2))
            made += '+';
        else if (mayStay && below(2))
            made += letter;
        else
            made += QByteArray(1, letter).toPercentEncoding();
    }
    return made;
}

Parameters RandomRequests::parameters(int most) {
    Parameters made;
    for (int left = below(most + 1); left > 0; --left) {
        // Names that meet again, and are each other's beginning.
        const QByteArray name = below(2) ? QByteArray("a").repeated(1 + below(3)) : text(4);
        made.append({name.isEmpty() ? QByteArray("n") : name, below(4) ? text(12) : QByteArray()});
    }
    return made;
}

QByteArray RandomRequests::url() {
    static const char* const hosts[] = {"example.com", "EXAMPLE.Com",   "a.b-c.example",
                                        "127.0.0.1",   "[2001:DB8::1]", "xn--bcher-kva.example"};
    static const char* const ports[] = {"", "", ":80", ":443", ":8443"};
    QByteArray made = below(2) ? "https://" : "http://";
    made += hosts[below(static_cast<int>(std::size(hosts)))];
    made += ports[below(static_cast<int>(std::size(ports)))];
    for (int left = below(4); left > 0; --left)
        made += '/' + m_host.UrlEncode(text(6).replace('/', 's'));
    QByteArray query;
    for (const Parameter& parameter : parameters(5)) {
        query += (query.isEmpty() ? "" : "&") + wireText(parameter.first);
        if (!parameter.second.isEmpty() || below(2))
            query += '=' + wireText(parameter.second);
    }
    if (!query.isEmpty())
        made += '?' + query;
    return below(5) ? made : made + "#part?x=y";
}

QJsonObject RandomRequests::next() {
    static const char* const methods[] = {"GET", "POST", "PUT", "DELETE", "PROPFIND"};
    RequestToSign request{methods[below(5)], QUrl::fromEncoded(url(), QUrl::StrictMode), {}};
    const auto form = static_cast<OutputForm>(below(3));
    const bool hasBody = form == OutputForm::FormBody || below(2);
    QByteArray body;
    if (hasBody)
        request.parameters = parameters(4);
    for (const Parameter& parameter : request.parameters)
        body += (body.isEmpty() ? "" : "&") + wireText(parameter.first) + '=' + wireText(parameter.second);
    if (below(4) == 0)
        request.parameters.append({"oauth_session_handle", text(20)});
    const bool hasToken = below(3) != 0;
    const Credentials keys{'k' + text(20), text(40), hasToken ? 't' + text(20) : QByteArray(),
                           hasToken ? text(40) : QByteArray()};
    const QByteArray output = VqOAuthWrapper(m_host).CreateOauthParameterString(request, keys, form);
    const QUrl sent = form == OutputForm::Query ? withParameters(request.url, output) : request.url;
    return {{"method", QString::fromLatin1(request.method)},
            {"url", QString::fromLatin1(sent.toEncoded())},
            {"body", QString::fromLatin1(form == OutputForm::FormBody ? output : body)},
            {"authorization", form == OutputForm::Header ? QString::fromLatin1("OAuth " + output) : QString()},
            {"consumer_secret", QString::fromUtf8(keys.consumerSecret)},
            {"token_secret", QString::fromUtf8(keys.tokenSecret)},
            {"signed", !output.isEmpty()}};
}

} // namespace Velquor::TestKit
