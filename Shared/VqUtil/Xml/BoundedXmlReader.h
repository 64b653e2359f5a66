#pragma once

#include "VqUtil/Xml/XmlLimits.h"

#include <QString>
#include <QXmlStreamReader>

namespace Velquor::Util {

/// Reads an XML text that may be hostile, token by token. A document type definition is refused, so no entity can expand. Depth
/// and number of elements are limited, and the text must be well-formed.
///
/// Thread: that of its owner. Owner: its user's stack. Errors: `fault`.
class BoundedXmlReader {
public:
    template <class Text>
    BoundedXmlReader(const Text& text, const XmlLimits& limits)
        : m_limits(limits)
        , m_reader(text) {}

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
