#pragma once

#include "VqUtil/Xml/XmlLimits.h"

#include <QString>
#include <QXmlStreamReader>

namespace Velquor::Util {

/// Reads an XML text that may be hostile, token by token. A document type definition is refused, so no entity can expand. Depth,
/// number of elements and their attributes are limited, and the text must be well-formed. A prefix is part of the name:
/// namespaces are not looked up.
///
/// Thread: that of its owner. Owner: its user's stack. Errors: `fault`.
class BoundedXmlReader {
public:
    BoundedXmlReader(const QString& text, const XmlLimits& limits);

    /// Reads the next token. False at the end of the text and at a fault.
    [[nodiscard]] bool next();
    [[nodiscard]] const QXmlStreamReader& token() const { return m_reader; }
    /// What is wrong and where, in one sentence. Empty while nothing is.
    [[nodiscard]] const QString& fault() const { return m_fault; }

private:
    [[nodiscard]] QString checkToken();

    const XmlLimits m_limits;
    QXmlStreamReader m_reader;
    int m_depth = 0;
    int m_elements = 0;
    QString m_fault;
};

} // namespace Velquor::Util
