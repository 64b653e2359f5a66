#include "facade/RandomRequests.h"

#include "TestKit/Platform/OutsideProgram.h"

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryFile>
#include <cstdio>

namespace Velquor::TestKit {

namespace {

constexpr int requestCount = 10000;

quint32 chosenSeed() {
    bool isGiven = false;
    const uint given = qEnvironmentVariable("VQ_TEST_SEED").toUInt(&isGiven);
    const quint32 seed = isGiven ? given : QRandomGenerator::global()->generate();
    qInfo("Seed: %u (VQ_TEST_SEED repeats it)", seed);
    return seed;
}

QByteArray withQuery(const QByteArray& url, const QByteArray& parameters) {
    const int end = url.indexOf('#') < 0 ? url.size() : url.indexOf('#');
    return url.left(end) + (url.left(end).contains('?') ? '&' : '?') + parameters + url.mid(end);
}

} // namespace

RandomRequests::RandomRequests(Signer signer)
    : m_signer(std::move(signer))
    , m_random(chosenSeed()) {}

// UTF-8 text of blanks, reserved and unreserved characters, and characters of two to four bytes.
QByteArray RandomRequests::text(int longest) {
    static const QByteArray others("a B 0 9 - . _ ~ + % & = / ? # : ; , @ ! * ' ( ) $ [ ] \" < \\ ^ ` { | %20 %2B "
                                   "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x94\x91 \xef\xbb\xbf \t \n \x7f");
    static const QList<QByteArray> pieces = others.split(' ') << " ";
    QByteArray made;
    for (int left = below(longest + 1); left > 0; --left)
        made += pieces.at(below(pieces.size()));
    return made;
}

// Hosts write escapes in upper or lower case.
QByteArray RandomRequests::escaped(char letter) {
    const QByteArray digits = QByteArray(1, letter).toHex();
    return '%' + (below(2) ? digits : digits.toUpper());
}

// Blanks go over the wire as "+" or "%20", harmless characters encoded or as they are.
QByteArray RandomRequests::wireText(const QByteArray& decoded) {
    QByteArray made;
    for (const char letter : decoded) {
        const bool mayStay = QByteArray("!*'()$,:@/?").contains(letter);
        if (letter == ' ' && below(2))
            made += '+';
        else
            made += mayStay && below(2) ? QByteArray(1, letter) : escaped(letter);
    }
    return made;
}

// A server signs the path as it received it, so escapes that nobody needs must stay too.
QByteArray RandomRequests::pathText(const QByteArray& decoded) {
    QByteArray made;
    for (const char letter : decoded)
        made += QByteArray("aB09-._~!$&'()*+,=:@").contains(letter) && below(3) ? QByteArray(1, letter) : escaped(letter);
    return made;
}

QVector<QPair<QByteArray, QByteArray>> RandomRequests::parameters(int most) {
    QVector<QPair<QByteArray, QByteArray>> made;
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
        made += '/' + pathText(text(6));
    QByteArray query;
    const auto fields = parameters(5);
    for (const auto& field : fields) {
        query += (query.isEmpty() ? "" : "&") + wireText(field.first);
        if (!field.second.isEmpty() || below(2))
            query += '=' + wireText(field.second);
    }
    if (!query.isEmpty())
        made += '?' + query;
    return below(5) ? made : made + "#part?x=y";
}

QJsonObject RandomRequests::next() {
    static const char* const methods[] = {"GET", "POST", "PUT", "DELETE", "PROPFIND"};
    RandomRequest request;
    request.method = methods[below(5)];
    request.url = url();
    request.form = static_cast<RandomRequest::Form>(below(3));
    QByteArray body;
    if (request.form == RandomRequest::FormBody || below(2))
        request.parameters = parameters(4);
    for (const auto& field : qAsConst(request.parameters))
        body += (body.isEmpty() ? "" : "&") + wireText(field.first) + '=' + wireText(field.second);
    if (below(4) == 0)
        request.parameters.append({"oauth_session_handle", text(20)});
    const bool hasToken = below(3) != 0;
    request.consumerKey = 'k' + text(20);
    request.consumerSecret = text(40);
    request.token = hasToken ? 't' + text(20) : QByteArray();
    request.tokenSecret = hasToken ? text(40) : QByteArray();
    const QByteArray output = m_signer(request);
    const QByteArray sent = request.form == RandomRequest::Query ? withQuery(request.url, output) : request.url;
    return {{"method", QString::fromLatin1(request.method)},
            {"url", QString::fromLatin1(sent)},
            {"body", QString::fromLatin1(request.form == RandomRequest::FormBody ? output : body)},
            {"authorization", request.form == RandomRequest::Header ? QString::fromLatin1("OAuth " + output) : QString()},
            {"consumer_secret", decoded(request.consumerSecret)},
            {"token_secret", decoded(request.tokenSecret)},
            {"signed", !output.isEmpty()}};
}

QByteArray RandomRequests::judged() {
    const QString python = QStringLiteral("/usr/bin/python3");
    const QString script = qEnvironmentVariable("VQ_SOURCE_DIR") + QStringLiteral("/tests/facade/check_signatures.py");
    QTemporaryFile file;
    if (!QFile::exists(python) || !file.open())
        return {};
    for (int number = 0; number < requestCount; ++number)
        file.write(QJsonDocument(next()).toJson(QJsonDocument::Compact) + '\n');
    file.close();
    OutsideProgram check;
    if (!check.start(python, {check.pathFor(script), check.pathFor(file.fileName())}) || !check.waitForFinished(60000))
        return "it did not run";
    const QByteArray said = check.output();
    if (check.exitCode() != 0)
        std::fputs(said.constData(), stderr); // longer than a message of a test may be
    return said.trimmed();
}

} // namespace Velquor::TestKit
