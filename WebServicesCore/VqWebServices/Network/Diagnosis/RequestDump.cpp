#include "Network/Diagnosis/RequestDump.h"

#include "Network/Diagnosis/BodyMask.h"
#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/DumpAllowList.h"
#include "Network/Diagnosis/HttpStatusText.h"
#include "Network/Diagnosis/NetworkErrorText.h"
#include "VqLog/KnownSecrets.h"

#include <QNetworkReply>
#include <QNetworkRequest>

namespace Velquor::WebServices::Internal {
namespace {

constexpr int MaximalBodyBytes = 2000;

struct NamedAttribute {
    QNetworkRequest::Attribute attribute;
    const char* name;
};

const NamedAttribute Attributes[] = {
    {QNetworkRequest::HttpStatusCodeAttribute, "HttpStatusCode"},
    {QNetworkRequest::HttpReasonPhraseAttribute, "HttpReasonPhrase"},
    {QNetworkRequest::RedirectionTargetAttribute, "RedirectionTarget"},
    {QNetworkRequest::ConnectionEncryptedAttribute, "ConnectionEncrypted"},
    {QNetworkRequest::CacheLoadControlAttribute, "CacheLoadControl"},
    {QNetworkRequest::CacheSaveControlAttribute, "CacheSaveControl"},
    {QNetworkRequest::SourceIsFromCacheAttribute, "SourceIsFromCache"},
    {QNetworkRequest::DoNotBufferUploadDataAttribute, "DoNotBufferUploadData"},
    {QNetworkRequest::HttpPipeliningAllowedAttribute, "HttpPipeliningAllowed"},
    {QNetworkRequest::HttpPipeliningWasUsedAttribute, "HttpPipeliningWasUsed"},
    {QNetworkRequest::CustomVerbAttribute, "CustomVerb"},
    {QNetworkRequest::CookieLoadControlAttribute, "CookieLoadControl"},
    {QNetworkRequest::AuthenticationReuseAttribute, "AuthenticationReuse"},
    {QNetworkRequest::CookieSaveControlAttribute, "CookieSaveControl"},
    {QNetworkRequest::MaximumDownloadBufferSizeAttribute, "MaximumDownloadBufferSize"},
    {QNetworkRequest::DownloadBufferAttribute, "DownloadBuffer"},
    {QNetworkRequest::SynchronousRequestAttribute, "SynchronousRequest"},
    {QNetworkRequest::User, "User"},
    {QNetworkRequest::UserMax, "UserMax"},
};

struct NamedHeader {
    QNetworkRequest::KnownHeaders header;
    const char* name;
    const char* wireName;
};

const NamedHeader Headers[] = {
    {QNetworkRequest::ContentTypeHeader, "ContentType", "Content-Type"},
    {QNetworkRequest::ContentLengthHeader, "ContentLength", "Content-Length"},
    {QNetworkRequest::LocationHeader, "Location", "Location"},
    {QNetworkRequest::LastModifiedHeader, "LastModified", "Last-Modified"},
    {QNetworkRequest::CookieHeader, "Cookie", "Cookie"},
    {QNetworkRequest::SetCookieHeader, "SetCookie", "Set-Cookie"},
    {QNetworkRequest::ContentDispositionHeader, "ContentDisposition", "Content-Disposition"},
};

QString line(const QString& name, const QString& value) {
    return QStringLiteral("%1: %2").arg(name, value);
}

QString attributeText(QNetworkRequest::Attribute attribute, const QVariant& value) {
    switch (attribute) {
    case QNetworkRequest::RedirectionTargetAttribute: return displayUrl(value.toUrl());
    case QNetworkRequest::DownloadBufferAttribute:
    case QNetworkRequest::User:
    case QNetworkRequest::UserMax: return hiddenValue();
    default: return oneLine(value.toString());
    }
}

QString headerText(const QString& wireName, const QString& value) {
    if (isUrlHeader(wireName))
        return displayUrl(QUrl(value));
    return isHeaderShown(wireName) ? oneLine(value) : hiddenValue();
}

/// `Message` is a QNetworkRequest or a QNetworkReply, which have the same functions for headers.
template <typename Message>
QStringList headLines(const Message& message, const QList<QByteArray>& rawHeaders) {
    QStringList lines;
    for (const NamedAttribute& entry : Attributes) {
        const QVariant value = message.attribute(entry.attribute);
        if (value.isValid())
            lines += line(QString::fromLatin1(entry.name), attributeText(entry.attribute, value));
    }
    for (const NamedHeader& entry : Headers) {
        const QVariant value = message.header(entry.header);
        if (value.isValid())
            lines += line(QString::fromLatin1(entry.name), headerText(QString::fromLatin1(entry.wireName), value.toString()));
    }
    for (const QByteArray& rawName : rawHeaders) {
        const QString name = oneLine(QString::fromUtf8(rawName));
        lines += line(name, headerText(name, QString::fromUtf8(message.rawHeader(rawName))));
    }
    return lines;
}

QString cutBody(const QByteArray& body, const QVariant& contentType, const QString& notice) {
    // Before the cut, which could leave a part of a secret.
    const QString shown = Log::KnownSecrets::hidden(maskedBody(body, contentType.toString()));
    // By the length of the body itself, since masking changes the length.
    return body.size() > MaximalBodyBytes ? QString::fromUtf8(shown.toUtf8().left(MaximalBodyBytes)) + notice : shown;
}

QString operationVerb(QNetworkAccessManager::Operation operation) {
    switch (operation) {
    case QNetworkAccessManager::HeadOperation: return QStringLiteral("HEAD");
    case QNetworkAccessManager::GetOperation: return QStringLiteral("GET");
    case QNetworkAccessManager::PutOperation: return QStringLiteral("PUT");
    case QNetworkAccessManager::PostOperation: return QStringLiteral("POST");
    case QNetworkAccessManager::DeleteOperation: return QStringLiteral("DELETE");
    case QNetworkAccessManager::CustomOperation: return QStringLiteral("CUSTOM");
    default: return QStringLiteral("UNKNOWN");
    }
}

QStringList requestLines(const QNetworkRequest& request, const QByteArray& body, const QString& verb) {
    QStringList lines{QStringLiteral("Request:"), QStringLiteral("%1 %2").arg(oneLine(verb), displayUrl(request.url()))};
    lines += headLines(request, request.rawHeaderList());
    lines += QStringLiteral("Request body:");
    lines += cutBody(body, request.header(QNetworkRequest::ContentTypeHeader),
                     QStringLiteral("...\n<request body is too long and truncated>"));
    return lines;
}

QStringList responseLines(const QNetworkReply& reply, const QByteArray& body) {
    const int status = httpStatus(reply);
    QStringList lines{QString(), QStringLiteral("Response:"),
                      QStringLiteral("%1 %2").arg(QString::number(status), httpStatusText(status))};
    lines += headLines(reply, reply.rawHeaderList());
    const QString shown = cutBody(body, reply.header(QNetworkRequest::ContentTypeHeader),
                                  QStringLiteral("...\n<response body is too long and truncated>"));
    lines << QStringLiteral("Response body:") << shown;
    if (!body.isEmpty())
        lines << QStringLiteral("Response body (decoded):") << oneLine(QUrl::fromPercentEncoding(shown.toUtf8()));
    return lines;
}

} // namespace

QStringList requestDump(const QNetworkReply* reply, const QByteArray& requestBody, const QByteArray& responseBody,
                        const QString& verb) {
    if (!reply)
        return {};
    const QString usedVerb = verb.isEmpty() ? operationVerb(reply->operation()) : verb;
    return requestLines(reply->request(), requestBody, usedVerb) + responseLines(*reply, responseBody);
}

} // namespace Velquor::WebServices::Internal
