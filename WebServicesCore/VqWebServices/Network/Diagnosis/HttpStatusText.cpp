#include "Network/Diagnosis/HttpStatusText.h"

#include <QHash>

namespace Velquor::WebServices::Internal {
namespace {

const QHash<int, QString>& statusTexts() {
    static const QHash<int, QString> texts{
        {0, QString()},
        {200, QStringLiteral("OK")},
        {301, QStringLiteral("Moved Permanently")},
        {302, QStringLiteral("Found")},
        {303, QStringLiteral("See Other")},
        {304, QStringLiteral("Not Modified")},
        {305, QStringLiteral("Use Proxy")},
        {306, QStringLiteral("(Unused)")},
        {307, QStringLiteral("Temporary Redirect")},
        {400, QStringLiteral("Bad Request")},
        {401, QStringLiteral("Unauthorized")},
        {402, QStringLiteral("Payment Required")},
        {403, QStringLiteral("Forbidden")},
        {404, QStringLiteral("Not Found")},
        {405, QStringLiteral("Method Not Allowed")},
        {406, QStringLiteral("Not Acceptable")},
        {407, QStringLiteral("Proxy Authentication Required")},
        {408, QStringLiteral("Request Timeout")},
        {409, QStringLiteral("Conflict")},
        {410, QStringLiteral("Gone")},
        {411, QStringLiteral("Length Required")},
        {412, QStringLiteral("Precondition Failed")},
        {413, QStringLiteral("Request Entity Too Large")},
        {414, QStringLiteral("Request-URI Too Long")},
        {415, QStringLiteral("Unsupported Media Type")},
        {416, QStringLiteral("Requested Range Not Satisfiable")},
        {417, QStringLiteral("Expectation Failed")},
        {500, QStringLiteral("Internal Server Error")},
        {501, QStringLiteral("Not Implemented")},
        {502, QStringLiteral("Bad Gateway")},
        {503, QStringLiteral("Service Unavailable")},
        {504, QStringLiteral("Gateway Timeout")},
        {505, QStringLiteral("HTTP Version Not Supported")},
    };
    return texts;
}

} // namespace

QString httpStatusText(int code) {
    return statusTexts().value(code, QStringLiteral("Unknown"));
}

} // namespace Velquor::WebServices::Internal
