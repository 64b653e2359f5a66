#include "Contract/ReplyReading.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QXmlStreamReader>
#include <algorithm>

namespace Vqws {

namespace {

// A number with fewer digits is no time of this century.
constexpr int leastTimeDigits = 10;

/// The root of a document, and the texts of the elements below it by their names.
struct ShortXml {
    QString root;
    QMap<QString, QString> texts;
};

ShortXml readXml(const QByteArray& body) {
    ShortXml read;
    QXmlStreamReader xml(body);
    QString name;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            name = xml.name().toString();
            if (read.root.isEmpty())
                read.root = name;
        } else if (xml.isCharacters() && !xml.isWhitespace()) {
            read.texts.insert(name, xml.text().toString().trimmed());
        }
    }
    return xml.hasError() ? ShortXml() : read;
}

bool isCount(const QString& text) {
    bool isNumber = false;
    return text.toLongLong(&isNumber) >= 0 && isNumber;
}

bool isDigits(const QByteArray& text) {
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isLifetime(const QJsonValue& value) {
    return value.isString() ? isDigits(value.toString().section(QLatin1Char('.'), 0, 0).toLatin1()) : value.toDouble() >= 1;
}

} // namespace

bool isFine(const HttpReply& reply) {
    return reply.status == Status::success && !reply.isCut;
}

bool isRefusal(const HttpReply& reply) {
    return reply.status >= Status::badRequest && reply.status < Status::serverError;
}

QString whatCame(const HttpReply& reply) {
    if (reply.status == 0)
        return QStringLiteral("no reply: %1").arg(reply.error);
    if (reply.isCut)
        return QStringLiteral("a reply that was cut short");
    const QString reason = QString::fromUtf8(reply.headers.value("xoauth_problem"));
    return QStringLiteral("status %1").arg(reply.status) + (reason.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(reason));
}

bool namesTheClock(const HttpReply& reply) {
    const QByteArray problem = reply.headers.value("xoauth_problem").toLower();
    return problem == "message_expired"
           || (problem == "system_error" && reply.headers.value("xoauth_additional_error_info") == "timestamp_mismatch")
           || (problem == "parameter_rejected" && reply.headers.value("xoauth_parameters_absent") == "oauth_timestamp");
}

FormValues formValues(const QByteArray& body) {
    FormValues values;
    for (const QByteArray& part : body.trimmed().split('&')) {
        const int mark = part.indexOf('=');
        const QByteArray name = QByteArray::fromPercentEncoding(part.left(mark));
        if (mark > 0 && !values.contains(name))
            values.insert(name, QByteArray::fromPercentEncoding(part.mid(mark + 1).replace('+', ' ')));
    }
    return values;
}

QString missingNames(const FormValues& values, const QVector<QByteArray>& names) {
    QStringList missing;
    for (const QByteArray& name : names) {
        if (values.value(name).isEmpty())
            missing += QString::fromLatin1(name);
    }
    return missing.join(QStringLiteral(", "));
}

bool isProfile(const QByteArray& body) {
    const ShortXml xml = readXml(body);
    return !(xml.texts.value(QStringLiteral("UserName")) + xml.texts.value(QStringLiteral("Id"))).isEmpty();
}

bool isEntitlements(const QByteArray& body) {
    return readXml(body).root == QLatin1String("EntitlementList");
}

bool isQuota(const QByteArray& body) {
    const ShortXml xml = readXml(body);
    return isCount(xml.texts.value(QStringLiteral("Quota"))) && isCount(xml.texts.value(QStringLiteral("CurrentUsage")));
}

QString faultOfOAuth2Reply(const QByteArray& body) {
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    if (json.value(QLatin1String("access_token")).toString().isEmpty())
        return QStringLiteral("there is no access_token");
    if (!isLifetime(json.value(QLatin1String("expires_in"))))
        return QStringLiteral("there is no lifetime in expires_in");
    const QStringList understood{QString(), QStringLiteral("bearer"), QStringLiteral("jwt"), QStringLiteral("rt")};
    const QString type = json.value(QLatin1String("token_type")).toString();
    return understood.contains(type.toLower()) ? QString() : QStringLiteral("the token_type is %1").arg(type);
}

std::optional<qint64> timeIn(const HttpReply& reply) {
    const QByteArray text = reply.body.trimmed();
    if (isDigits(text) && text.size() >= leastTimeDigits)
        return text.toLongLong();
    const QDateTime iso = QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate);
    const QDateTime time = iso.isValid() ? iso : reply.date;
    return time.isValid() ? std::optional<qint64>(time.toSecsSinceEpoch()) : std::nullopt;
}

} // namespace Vqws
