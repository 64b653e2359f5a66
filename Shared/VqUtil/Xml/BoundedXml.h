#pragma once

#include <QByteArray>
#include <QDomDocument>
#include <QString>

namespace Velquor::Util {

/// What an XML text from outside may be at most.
struct XmlLimits {
    qint64 size = 1024 * 1024; ///< Bytes.
    int depth = 32;            ///< Elements within elements.
    int elements = 10000;
};

struct XmlResult {
    QDomDocument document;
    QString error; ///< Empty when the document was read; otherwise what is wrong and where, in one sentence.

    [[nodiscard]] bool isValid() const { return error.isEmpty(); }
};

/// Parses an XML text that may be hostile: no document type definition (so no entity can expand), bounded in size, depth and
/// number of elements, one root, no attribute twice. The DOM is built only after a first pass found the text within bounds.
/// Thread: any.
[[nodiscard]] XmlResult parseBoundedXml(const QByteArray& text, const XmlLimits& limits = {});

/// That first pass alone, for who is about to write: what is wrong with the text and where; empty when it can be read. Thread:
/// any.
[[nodiscard]] QString findXmlFault(const QByteArray& text, const XmlLimits& limits = {});

} // namespace Velquor::Util
