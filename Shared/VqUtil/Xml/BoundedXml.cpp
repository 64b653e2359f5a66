#include "VqUtil/Xml/BoundedXml.h"

#include "VqUtil/Xml/BoundedXmlReader.h"

namespace Velquor::Util {

QString findXmlFault(const QByteArray& text, const XmlLimits& limits) {
    if (text.size() > limits.size)
        return QStringLiteral("The text is larger than %1 bytes").arg(limits.size);
    BoundedXmlReader reader(text, limits);
    while (reader.next()) {
    }
    return reader.fault();
}

XmlResult parseBoundedXml(const QByteArray& text, const XmlLimits& limits) {
    XmlResult result;
    result.error = findXmlFault(text, limits);
    if (!result.isValid())
        return result;
    int line = 0;
    int column = 0;
    QString message;
    if (!result.document.setContent(text, false, &message, &line, &column))
        result.error = QStringLiteral("%1 (line %2, column %3)").arg(message).arg(line).arg(column);
    return result;
}

} // namespace Velquor::Util
