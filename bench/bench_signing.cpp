// Measures the signing of the same two requests by this library and by two others, in one run. Each contestant creates nonce,
// time stamp, base string, HMAC-SHA1 and Base64, and writes the header or the parameter text.

#include "RatioReporter.h"

#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "Signing/VqOAuthWrapper.h"

#include <QDateTime>
#include <QNetworkRequest>
#include <QUuid>
#include <QtNetworkAuth/QOAuth1>
#include <QtNetworkAuth/QOAuth1Signature>
#include <cstdlib>
#include <oauth.h>
#include <type_traits>

namespace {

using namespace Velquor::OAuth;

struct Request {
    const char* method;
    const char* url;
    std::vector<std::pair<const char*, const char*>> body;
};

const char consumerKey[] = "8a6f1c0b2e594d7b9d3f";
const char consumerSecret[] = "kd94hf93k423kf44-pfkkdhi9sl3r4s00";
const char token[] = "nnch734d00sl2jdk-7a1e5c09";
const char tokenSecret[] = "pfkkdhi9sl3r4s00-kd94hf93k423kf44";

const Request get{
    "GET", "https://api.example.com/storage/v2/items?folder=urn%3Afolder%3A4711&limit=100&name=Grundri%C3%9F%20A", {}};
const Request post{"POST",
                   "https://api.example.com/storage/v2/items",
                   {{"folder", "urn:folder:4711"}, {"limit", "100"}, {"name", "Plan A"}, {"state", "open & shared"}}};

void signHere(benchmark::State& state, const Request& request) {
    const VqOAuthHost host(std::make_shared<OpenSslCryptoProvider>(), nullptr);
    const VqOAuthWrapper wrapper(host);
    RequestToSign toSign{request.method, request.url, {}};
    for (const auto& field : request.body)
        toSign.parameters.append(Parameter(field.first, field.second));
    const Credentials credentials{consumerKey, consumerSecret, token, tokenSecret};
    for (auto _ : state)
        benchmark::DoNotOptimize(wrapper.CreateOauthParameterString(toSign, credentials, OutputForm::Header));
}

void signByLiboauth(benchmark::State& state, const Request& request) {
    std::string url = request.url;
    const bool isPost = !request.body.empty();
    for (const auto& field : request.body) {
        url += url.find('?') == std::string::npos ? '?' : '&';
        char* const value = oauth_url_escape(field.second);
        url += std::string(field.first) + '=' + value;
        std::free(value);
    }
    for (auto _ : state) {
        char* arguments = nullptr;
        char* const text = oauth_sign_url2(url.c_str(), isPost ? &arguments : nullptr, OA_HMAC, request.method, consumerKey,
                                           consumerSecret, token, tokenSecret);
        benchmark::DoNotOptimize(text);
        std::free(arguments);
        std::free(text);
    }
}

// What the framework's signature class takes.
using Parameters = std::conditional_t<(QT_VERSION < QT_VERSION_CHECK(6, 0, 0)), QVariantMap, QMultiMap<QString, QVariant>>;

class OpenOAuth1 : public QOAuth1 {
public:
    using QOAuth1::QOAuth1;
    using QOAuth1::generateAuthorizationHeader;
    using QOAuth1::nonce;
    using QOAuth1::setup;
};

QVariantMap bodyOf(const Request& request) {
    QVariantMap body;
    for (const auto& field : request.body)
        body.insert(QString::fromLatin1(field.first), QString::fromLatin1(field.second));
    return body;
}

// Qt's signing class; functions of the complete class create the header.
void signByQtSignature(benchmark::State& state, const Request& request) {
    const QUrl url(QString::fromLatin1(request.url));
    const QVariantMap body = bodyOf(request);
    const auto method = body.isEmpty() ? QOAuth1Signature::HttpRequestMethod::Get : QOAuth1Signature::HttpRequestMethod::Post;
    for (auto _ : state) {
        QVariantMap parameters{{QStringLiteral("oauth_consumer_key"), QLatin1String(consumerKey)},
                               {QStringLiteral("oauth_nonce"), OpenOAuth1::nonce()},
                               {QStringLiteral("oauth_signature_method"), QStringLiteral("HMAC-SHA1")},
                               {QStringLiteral("oauth_timestamp"), QString::number(QDateTime::currentSecsSinceEpoch())},
                               {QStringLiteral("oauth_token"), QLatin1String(token)},
                               {QStringLiteral("oauth_version"), QStringLiteral("1.0")}};
        QOAuth1Signature signature(url, QLatin1String(consumerSecret), QLatin1String(tokenSecret), method,
                                   Parameters(parameters));
        for (auto field = body.begin(); field != body.end(); ++field)
            signature.insert(field.key(), field.value());
        parameters.insert(QStringLiteral("oauth_signature"), signature.hmacSha1().toBase64());
        benchmark::DoNotOptimize(OpenOAuth1::generateAuthorizationHeader(parameters));
    }
}

// Qt's complete class, in the way it signs the requests that it sends.
void signByQtOAuth1(benchmark::State& state, const Request& request) {
    OpenOAuth1 oauth;
    oauth.setClientCredentials(QLatin1String(consumerKey), QLatin1String(consumerSecret));
    oauth.setTokenCredentials(QLatin1String(token), QLatin1String(tokenSecret));
    const QUrl url(QString::fromLatin1(request.url));
    const QVariantMap body = bodyOf(request);
    const auto operation = body.isEmpty() ? QNetworkAccessManager::GetOperation : QNetworkAccessManager::PostOperation;
    for (auto _ : state) {
        QNetworkRequest signedRequest(url);
        oauth.setup(&signedRequest, body, operation);
        benchmark::DoNotOptimize(signedRequest.rawHeader("Authorization"));
    }
}

BENCHMARK_CAPTURE(signHere, get, get)->Name("get/VqOAuthWrapper");
BENCHMARK_CAPTURE(signByLiboauth, get, get)->Name("get/liboauth");
BENCHMARK_CAPTURE(signByQtSignature, get, get)->Name("get/QOAuth1Signature");
BENCHMARK_CAPTURE(signByQtOAuth1, get, get)->Name("get/QOAuth1");
BENCHMARK_CAPTURE(signHere, post, post)->Name("post/VqOAuthWrapper");
BENCHMARK_CAPTURE(signByLiboauth, post, post)->Name("post/liboauth");
BENCHMARK_CAPTURE(signByQtSignature, post, post)->Name("post/QOAuth1Signature");
BENCHMARK_CAPTURE(signByQtOAuth1, post, post)->Name("post/QOAuth1");

} // namespace

int main(int argc, char** argv) {
    return runAgainstPeers(argc, argv, "VqOAuthWrapper", 0.75);
}
