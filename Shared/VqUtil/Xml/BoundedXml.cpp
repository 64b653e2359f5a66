#include "VqUtil/Xml/BoundedXml.h"

#include <QXmlStreamReader>

namespace Velquor::Util {

namespace {

QString checkToken(QXmlStreamReader& reader, const XmlLimits& limits, int& depth, int& elements) {
    switch (reader.readNext()) {
    case QXmlStreamReader::DTD:
    case QXmlStreamReader::EntityReference: return QStringLiteral("A document type definition is not allowed");
    case QXmlStreamReader::StartElement:
        if (++depth > limits.depth)
            return QStringLiteral("Elements are nested more than %1 deep").arg(limits.depth);
        if (++elements > limits.elements)
            return QStringLiteral("There are more than %1 elements").arg(limits.elements);
        return {};
    case QXmlStreamReader::EndElement: --depth; return {};
    default: return {};
    }
}

} // namespace

QString findXmlFault(const QByteArray& text, const XmlLimits& limits) {
    if (text.size() > limits.size)
        return QStringLiteral("The text is larger than %1 bytes").arg(limits.size);
    QXmlStreamReader reader(text);
    int depth = 0;
    int elements = 0;
    while (!reader.atEnd()) {
        const QString fault = checkToken(reader, limits, depth, elements);
        if (!fault.isEmpty())
            return QStringLiteral("%1 (line %2)").arg(fault).arg(reader.lineNumber());
    }
    if (reader.hasError())
        return QStringLiteral("%1 (line %2, column %3)")
            .arg(reader.errorString())
            .arg(reader.lineNumber())
            .arg(reader.columnNumber());
    return {};
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
