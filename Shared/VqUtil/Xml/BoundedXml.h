#pragma once

#include "VqUtil/Xml/XmlLimits.h"

#include <QByteArray>
#include <QDomDocument>
#include <QString>

namespace Velquor::Util {

struct XmlResult {
    QDomDocument document;
    QString error; ///< What is wrong and where, in one sentence. Empty when the document was read.

    [[nodiscard]] bool isValid() const { return error.isEmpty(); }
};

/// Parses an XML text that may be hostile. A document type definition is refused, so no entity can expand. Size, depth and number
/// of elements are limited, and the text must be well-formed. The DOM is built only after a first pass has found the text within
/// the limits, so a hostile text cannot make it large. Thread: any.
[[nodiscard]] XmlResult parseBoundedXml(const QByteArray& text, const XmlLimits& limits = {});

} // namespace Velquor::Util
