#pragma once

#include "VqUtil/General/Result.h"
#include "VqUtil/Xml/XmlElement.h"
#include "VqUtil/Xml/XmlLimits.h"

#include <QByteArray>

namespace Velquor::Util {

class BoundedXmlReader;

/// An XML text in UTF-8 that is read, changed and written again. What nobody changed is written as it was read.
///
/// A value. Thread: that of its owner. Errors: a reason instead of a text.
class XmlText {
public:
    /// A new text with an empty document element of this name.
    explicit XmlText(const QString& rootName);

    /// Reads a text that may be hostile: within the limits, without a document type definition, and well-formed.
    [[nodiscard]] static Result<XmlText> parse(const QByteArray& text, const XmlLimits& limits = {});

    [[nodiscard]] XmlElement& root() { return m_root; }
    [[nodiscard]] const XmlElement& root() const { return m_root; }

    [[nodiscard]] QByteArray toBytes() const { return written(XmlElement::Part::Whole).toUtf8(); }
    /// The same, or why it could not be read again within the limits. Only what may have changed is looked at.
    [[nodiscard]] Result<QByteArray> toReadableBytes(const XmlLimits& limits) const;

private:
    XmlText() = default;
    [[nodiscard]] QString written(XmlElement::Part part) const;
    [[nodiscard]] Result<void> read(const QString& text, const XmlLimits& limits);
    [[nodiscard]] static XmlElement readElement(BoundedXmlReader& reader, const QString& text, int& end);

    QString m_before; ///< What stands before the document element, and behind it.
    XmlElement m_root;
    QString m_behind;
    int m_length = 0; ///< Of the text that was read, in characters.
};

} // namespace Velquor::Util
