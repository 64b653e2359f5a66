// The requests that the product sends itself. The library signs them.

#include "Product.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <QUrlQuery>
#include <memory>

using namespace Velquor::WebServices;

namespace {

constexpr int timeoutMs = 20000;

using SignedText = std::unique_ptr<wchar_t[]>;

// What is signed must be what Qt sends, which may differ from the given text in its escapes.
QString asSent(const QString& url) {
    return QUrl(url).toString(QUrl::FullyEncoded);
}

} // namespace

QJsonObject Product::get(const Arguments& arguments) {
    const QString url = asSent(arguments.first());
    const SignedText header(m_manager->SignRequest(url.toStdWString().c_str(), nullptr, 0, HttpMethod::Get,
                                                   ParsingMode::AuthorizationHeader, nullptr, nullptr));
    if (!header)
        return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), QStringLiteral("the library refused to sign")}};
    return sendSigned(url, QString::fromWCharArray(header.get()), {});
}

QJsonObject Product::post(const Arguments& arguments) {
    const QString url = asSent(arguments.first());
    std::vector<std::pair<std::wstring, std::wstring>> texts;
    QUrlQuery form;
    for (const QString& field : arguments.mid(1)) {
        const QString name = field.section(QLatin1Char('='), 0, 0);
        const QString value = field.section(QLatin1Char('='), 1);
        texts.emplace_back(name.toStdWString(), value.toStdWString());
        form.addQueryItem(QString::fromLatin1(QUrl::toPercentEncoding(name)),
                          QString::fromLatin1(QUrl::toPercentEncoding(value)));
    }
    std::vector<RequestParam> params;
    for (const auto& entry : texts)
        params.push_back({entry.first.c_str(), entry.second.c_str()});
    const SignedText header(m_manager->SignRequest(url.toStdWString().c_str(), params.data(), static_cast<int>(params.size()),
                                                   HttpMethod::Post, ParsingMode::AuthorizationHeader, nullptr, nullptr));
    if (!header)
        return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), QStringLiteral("the library refused to sign")}};
    return sendSigned(url, QString::fromWCharArray(header.get()), form.query(QUrl::FullyEncoded).toLatin1());
}

QJsonObject sendSigned(const QString& url, const QString& authorization, const QByteArray& form) {
    QNetworkAccessManager manager;
    QNetworkRequest request{QUrl(url)};
    request.setRawHeader("Authorization", authorization.toLatin1());
    if (!form.isEmpty())
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/x-www-form-urlencoded"));
    const std::unique_ptr<QNetworkReply> reply(form.isEmpty() ? manager.get(request) : manager.post(request, form));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    loop.exec();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return {{QStringLiteral("ok"), reply->isFinished() && status == 200},
            {QStringLiteral("status"), status},
            {QStringLiteral("error"), reply->error() == QNetworkReply::NoError ? QString() : reply->errorString()},
            {QStringLiteral("body"), QString::fromUtf8(reply->readAll())}};
}
