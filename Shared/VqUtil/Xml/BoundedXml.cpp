#include "VqUtil/Xml/BoundedXml.h"

#include "VqUtil/Xml/BoundedXmlReader.h"
#include "VqUtil/Xml/XmlScan.h"

namespace Velquor::Util {

namespace {

QString faultOf(const QString& text, const XmlLimits& limits) {
    BoundedXmlReader reader(text, limits);
    while (reader.next()) {
    }
    return reader.fault();
}

Result<QString> boundedCharacters(const QByteArray& text, const XmlLimits& limits) {
    if (text.size() > limits.size)
        return Failure{QStringLiteral("The text is larger than %1 bytes").arg(limits.size)};
    return xmlCharacters(text);
}

} // namespace

XmlResult parseBoundedXml(const QByteArray& text, const XmlLimits& limits) {
    XmlResult result;
    const Result<QString> characters = boundedCharacters(text, limits);
    result.error = characters ? faultOf(*characters, limits) : characters.reason();
    if (!result.isValid())
        return result;
    int line = 0;
    int column = 0;
    QString message;
    // By the stream reader: the older parser behind `setContent` of a text takes time by the square of the number of references.
    QXmlStreamReader reader(*characters);
    reader.setNamespaceProcessing(false);
    if (!result.document.setContent(&reader, false, &message, &line, &column))
        result.error = QStringLiteral("%1 (line %2, column %3)").arg(message).arg(line).arg(column);
    return result;
}

} // namespace Velquor::Util
