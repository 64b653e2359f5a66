#include "Values/NetworkCookieImp.h"

#include "VqUtil/General/Utf8.h"

#include <QVariant>
#include <cmath>

namespace Velquor::WebServices {

namespace {

// A number from outside may be any double. One that does not fit into 64 bits is not a date.
qint64 wholeNumber(const QJsonValue& value) {
    const QVariant exact = value.toVariant();
    if (exact.type() == QVariant::LongLong)
        return exact.toLongLong();
    const double number = value.toDouble();
    return std::isfinite(number) && std::fabs(number) < 9.2e18 ? static_cast<qint64>(number) : 0;
}

} // namespace

QJsonObject NetworkCookieImp::toJson() const {
    return {{QStringLiteral("Name"), Util::textFromUtf8(name)},
            {QStringLiteral("Value"), Util::textFromUtf8(value)},
            {QStringLiteral("Domain"), domain},
            {QStringLiteral("Path"), path},
            {QStringLiteral("IsSecure"), secure},
            {QStringLiteral("IsHttpOnly"), httpOnly},
            {QStringLiteral("ExpiryDate"), expiryDate}};
}

bool NetworkCookieImp::fromJson(const QJsonObject& json) {
    if (json.isEmpty())
        return false;
    name = json.value(QStringLiteral("Name")).toString().toUtf8();
    value = json.value(QStringLiteral("Value")).toString().toUtf8();
    domain = json.value(QStringLiteral("Domain")).toString();
    path = json.value(QStringLiteral("Path")).toString();
    secure = json.value(QStringLiteral("IsSecure")).toBool();
    httpOnly = json.value(QStringLiteral("IsHttpOnly")).toBool();
    expiryDate = wholeNumber(json.value(QStringLiteral("ExpiryDate")));
    return true;
}

} // namespace Velquor::WebServices
