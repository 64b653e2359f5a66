#include "Network/Diagnosis/DisplayUrl.h"

#include "Network/Diagnosis/DumpAllowList.h"

#include <QRegularExpression>
#include <QStringList>

namespace Velquor::WebServices::Internal {
namespace {

QString maskedField(const QString& field) {
    const int sign = field.indexOf(QLatin1Char('='));
    if (sign < 0)
        return field.isEmpty() ? field : hiddenValue();
    const QString name = field.left(sign);
    const QString value = field.mid(sign + 1);
    const QString decoded = QUrl::fromPercentEncoding(value.toUtf8());
    // Servers may also join fields with ';', or nest them; such a value could contain any field.
    const bool nested = decoded.contains(QLatin1Char('=')) || decoded.contains(QLatin1Char(';'));
    const bool shown = value.isEmpty() || (isFieldShown(name) && !nested);
    return (isFieldName(name) ? name : hiddenValue()) + QLatin1Char('=') + (shown ? value : hiddenValue());
}

QString withPathParametersMasked(QString text) {
    static const QRegularExpression parameter(QStringLiteral(";([^=/;]*)=[^/;]*"));
    return text.replace(parameter, QStringLiteral(";\\1=***"));
}

} // namespace

bool isFieldName(const QString& text) {
    static const QRegularExpression name(QRegularExpression::anchoredPattern(QStringLiteral("[A-Za-z_][A-Za-z0-9_.:-]{0,63}")));
    return name.match(text).hasMatch();
}

QString maskedFields(const QString& encodedFields) {
    QStringList fields = encodedFields.split(QLatin1Char('&'));
    for (QString& field : fields)
        field = maskedField(field);
    return fields.join(QLatin1Char('&'));
}

QString displayUrl(const QUrl& url) {
    if (url.isEmpty() || !url.isValid())
        return QStringLiteral("<invalid url>");
    const QString scheme = url.scheme();
    if (!scheme.isEmpty() && scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return scheme + QLatin1Char(':') + hiddenValue();
    const QString base = url.toDisplayString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
    QString text = withPathParametersMasked(oneLine(base));
    if (url.hasQuery())
        text += QLatin1Char('?') + maskedFields(url.query(QUrl::FullyEncoded));
    return text;
}

QString withUrlsMasked(const QString& text, const QUrl& url) {
    static const QRegularExpression anyUrl(QStringLiteral("https?://\\S+"), QRegularExpression::CaseInsensitiveOption);
    QString source = text;
    if (!url.isEmpty())
        source.replace(url.toString(), displayUrl(url));
    QString masked;
    int end = 0;
    for (auto it = anyUrl.globalMatch(source); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        masked += source.mid(end, match.capturedStart() - end) + displayUrl(QUrl(match.captured()));
        end = match.capturedEnd();
    }
    return masked + source.mid(end);
}

} // namespace Velquor::WebServices::Internal
