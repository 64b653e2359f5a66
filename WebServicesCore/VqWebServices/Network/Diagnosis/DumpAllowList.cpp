#include "Network/Diagnosis/DumpAllowList.h"

#include <QSet>

namespace Velquor::WebServices::Internal {
namespace {

const QSet<QString>& shownHeaders() {
    static const QSet<QString> names{
        QStringLiteral("accept"),
        QStringLiteral("accept-charset"),
        QStringLiteral("accept-encoding"),
        QStringLiteral("accept-language"),
        QStringLiteral("accept-ranges"),
        QStringLiteral("age"),
        QStringLiteral("allow"),
        QStringLiteral("cache-control"),
        QStringLiteral("connection"),
        QStringLiteral("content-disposition"),
        QStringLiteral("content-encoding"),
        QStringLiteral("content-language"),
        QStringLiteral("content-length"),
        QStringLiteral("content-type"),
        QStringLiteral("date"),
        QStringLiteral("expires"),
        QStringLiteral("host"),
        QStringLiteral("if-modified-since"),
        QStringLiteral("keep-alive"),
        QStringLiteral("last-modified"),
        QStringLiteral("pragma"),
        QStringLiteral("retry-after"),
        QStringLiteral("server"),
        QStringLiteral("transfer-encoding"),
        QStringLiteral("user-agent"),
        QStringLiteral("vary"),
        QStringLiteral("via"),
        QStringLiteral("x-vqs-reason-phrase"),
        QStringLiteral("xoauth_problem"),
        QStringLiteral("xoauth_additional_error_info"),
        QStringLiteral("xoauth_parameters_absent"),
    };
    return names;
}

const QSet<QString>& shownFields() {
    static const QSet<QString> names{
        QStringLiteral("error"),
        QStringLiteral("error_code"),
        QStringLiteral("error_description"),
        QStringLiteral("expires_in"),
        QStringLiteral("format"),
        QStringLiteral("grant_type"),
        QStringLiteral("lang"),
        QStringLiteral("language"),
        QStringLiteral("locale"),
        QStringLiteral("oauth_acceptable_timestamps"),
        QStringLiteral("oauth_acceptable_versions"),
        QStringLiteral("oauth_authorization_expires_in"),
        QStringLiteral("oauth_callback_confirmed"),
        QStringLiteral("oauth_expires_in"),
        QStringLiteral("oauth_parameters_absent"),
        QStringLiteral("oauth_parameters_rejected"),
        QStringLiteral("oauth_problem"),
        QStringLiteral("oauth_problem_advice"),
        QStringLiteral("oauth_signature_method"),
        QStringLiteral("oauth_timestamp"),
        QStringLiteral("oauth_version"),
        QStringLiteral("scope"),
        QStringLiteral("status"),
        QStringLiteral("token_type"),
        QStringLiteral("version"),
    };
    return names;
}

bool isLineBreaking(QChar c) {
    return c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

} // namespace

bool isHeaderShown(const QString& name) {
    return shownHeaders().contains(name.toLower());
}

bool isUrlHeader(const QString& name) {
    static const QSet<QString> names{QStringLiteral("location"), QStringLiteral("content-location"), QStringLiteral("referer")};
    return names.contains(name.toLower());
}

bool isFieldShown(const QString& name) {
    return shownFields().contains(name);
}

QString hiddenValue() {
    return QStringLiteral("***");
}

QString oneLine(const QString& text) {
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        if (c == QLatin1Char('\n'))
            line += QStringLiteral("\\n");
        else if (c == QLatin1Char('\r'))
            line += QStringLiteral("\\r");
        else if (isLineBreaking(c))
            line += QStringLiteral("\\u%1").arg(int(c.unicode()), 4, 16, QLatin1Char('0'));
        else
            line += c;
    }
    return line;
}

} // namespace Velquor::WebServices::Internal
