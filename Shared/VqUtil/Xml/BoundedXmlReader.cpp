#include "VqUtil/Xml/BoundedXmlReader.h"

#include "VqUtil/Xml/XmlScan.h"

namespace Velquor::Util {

BoundedXmlReader::BoundedXmlReader(const QString& text, const XmlLimits& limits)
    : m_limits(limits)
    , m_reader(text) {
    m_reader.setNamespaceProcessing(false);
    if (hasTagWithMoreAttributes(text, limits.attributes))
        m_fault = QStringLiteral("An element has more than %1 attributes").arg(limits.attributes);
}

bool BoundedXmlReader::next() {
    if (!m_fault.isEmpty() || m_reader.atEnd())
        return false;
    const QString fault = checkToken();
    if (!fault.isEmpty())
        m_fault = QStringLiteral("%1 (line %2)").arg(fault).arg(m_reader.lineNumber());
    else if (m_reader.hasError())
        m_fault = QStringLiteral("%1 (line %2, column %3)")
                      .arg(m_reader.errorString())
                      .arg(m_reader.lineNumber())
                      .arg(m_reader.columnNumber());
    return m_fault.isEmpty();
}

QString BoundedXmlReader::checkToken() {
    switch (m_reader.readNext()) {
    case QXmlStreamReader::DTD:
    case QXmlStreamReader::EntityReference: return QStringLiteral("A document type definition is not allowed");
    case QXmlStreamReader::StartElement:
        if (++m_depth > m_limits.depth)
            return QStringLiteral("Elements are nested more than %1 deep").arg(m_limits.depth);
        if (++m_elements > m_limits.elements)
            return QStringLiteral("There are more than %1 elements").arg(m_limits.elements);
        return {};
    case QXmlStreamReader::EndElement: --m_depth; return {};
    default: return {};
    }
}

} // namespace Velquor::Util
