#include "Network/Diagnosis/BodyMask.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Diagnosis/DumpAllowList.h"
#include "VqUtil/Xml/BoundedXmlReader.h"
#include "VqUtil/Xml/XmlScan.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace Velquor::WebServices::Internal {
namespace {

constexpr int MaximalJsonDepth = 32;
constexpr int EnoughXml = 4096; // more than the log shows of a body

QString shownOrHidden(const QString& name, const QString& value) {
    return isFieldShown(name) ? oneLine(value) : hiddenValue();
}

QJsonValue maskedJson(const QJsonValue& value, bool shown, int depth) {
    if (value.isNull())
        return value;
    if (depth > MaximalJsonDepth)
        return hiddenValue();
    if (value.isArray()) {
        QJsonArray masked;
        const QJsonArray elements = value.toArray();
        for (const QJsonValue& element : elements)
            masked.append(maskedJson(element, shown, depth + 1));
        return masked;
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        QJsonObject masked;
        for (auto it = object.begin(); it != object.end(); ++it) {
            masked.insert(isFieldName(it.key()) ? it.key() : hiddenValue(),
                          maskedJson(it.value(), isFieldShown(it.key()), depth + 1));
        }
        return masked;
    }
    return shown ? value : QJsonValue(hiddenValue());
}

QString jsonOrNothing(const QByteArray& body) {
    const QJsonDocument document = QJsonDocument::fromJson(body);
    QJsonDocument masked;
    if (document.isObject())
        masked.setObject(maskedJson(document.object(), false, 0).toObject());
    else if (document.isArray())
        masked.setArray(maskedJson(document.array(), false, 0).toArray());
    return QString::fromUtf8(masked.toJson(QJsonDocument::Compact));
}

QString localName(const QXmlStreamReader& reader) {
    const QString name = reader.qualifiedName().toString();
    return name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
}

QString startTag(const QXmlStreamReader& reader) {
    QString tag = QLatin1Char('<') + reader.qualifiedName().toString();
    for (const QXmlStreamAttribute& attribute : reader.attributes()) {
        const QString name = attribute.qualifiedName().toString();
        tag += QStringLiteral(" %1=\"%2\"").arg(name, shownOrHidden(name, attribute.value().toString()));
    }
    return tag + QLatin1Char('>');
}

QString xmlOrNothing(const QByteArray& body) {
    const Util::Result<QString> characters = Util::xmlCharacters(body);
    if (!characters)
        return {};
    Util::BoundedXmlReader reader(*characters, {});
    const QXmlStreamReader& token = reader.token();
    QString text;
    QString element;
    while (text.size() < EnoughXml && reader.next()) {
        if (token.isStartElement()) {
            element = localName(token);
            text += startTag(token);
        } else if (token.isEndElement()) {
            element.clear();
            text += QStringLiteral("</%1>").arg(token.qualifiedName().toString());
        } else if (token.isCharacters() && !token.isWhitespace()) {
            text += shownOrHidden(element, token.text().toString());
        }
    }
    return reader.fault().isEmpty() ? text : QString();
}

bool isForm(const QByteArray& body) {
    const auto isFormCharacter = [](char c) { return c > ' ' && c < 0x7f && c != '<' && c != '"'; };
    if (!std::all_of(body.begin(), body.end(), isFormCharacter))
        return false;
    const QList<QByteArray> fields = body.split('&');
    // A single word that ends with '=' is more likely base64 than a field.
    if (fields.size() == 1 && body.endsWith('='))
        return false;
    return std::all_of(fields.begin(), fields.end(), [](const QByteArray& field) {
        const int sign = field.indexOf('=');
        return sign > 0 && isFieldName(QString::fromLatin1(field.left(sign)));
    });
}

QString understoodBody(const QByteArray& body) {
    const QByteArray start = body.left(64).trimmed();
    if (start.startsWith('{') || start.startsWith('['))
        return jsonOrNothing(body);
    if (start.startsWith('<') || start.startsWith("\xEF\xBB\xBF<"))
        return xmlOrNothing(body);
    const QByteArray form = body.trimmed();
    return isForm(form) ? maskedFields(QString::fromLatin1(form)) : QString();
}

} // namespace

QString maskedBody(const QByteArray& body, const QString& contentType) {
    if (body.isEmpty())
        return {};
    const QString understood = understoodBody(body);
    if (!understood.isEmpty())
        return oneLine(understood);
    const QString type = contentType.isEmpty() ? QStringLiteral("no content type") : oneLine(contentType.left(100));
    return QStringLiteral("<%1, %2 bytes>").arg(type, QString::number(body.size()));
}

} // namespace Velquor::WebServices::Internal
