#pragma once

#include <QPair>
#include <QString>
#include <QVector>
#include <vector>

namespace Velquor::Util {

/// An element of an XML text that is read, changed and written again. What nobody changed is written as it was read, to the
/// letter: the order of attributes, blanks, comments, and elements that the reader does not know.
///
/// A value. Thread: that of its owner.
class XmlElement {
public:
    /// A new element, without attributes and content.
    explicit XmlElement(const QString& name = {})
        : m_name(name) {}

    [[nodiscard]] const QString& name() const { return m_name; }

    [[nodiscard]] bool hasAttribute(const QString& name) const;
    /// Empty when there is none.
    [[nodiscard]] QString attribute(const QString& name) const;
    void setAttribute(const QString& name, const QString& value);
    void removeAttribute(const QString& name);

    /// The characters directly in this element.
    [[nodiscard]] const QString& text() const { return m_text; }
    /// Replaces the content by one CDATA section. The text must not contain the end of one ("]]>").
    void setCData(const QString& text);

    /// The first child of this name; null when there is none. It lives until this element changes.
    [[nodiscard]] const XmlElement* child(const QString& name) const;
    [[nodiscard]] XmlElement* child(const QString& name);
    /// All children of this name, in order.
    [[nodiscard]] std::vector<const XmlElement*> children(const QString& name) const;
    [[nodiscard]] std::vector<XmlElement*> children(const QString& name);
    /// The first child of this name, appended when there is none.
    [[nodiscard]] XmlElement& childOrNew(const QString& name);
    XmlElement& append(const XmlElement& child);
    void remove(const XmlElement* child);
    /// Removes the children of this name, all but the first `kept`.
    void removeChildren(const QString& name, int kept = 0);

    enum class Part {
        Whole,
        Changeable, ///< Without what stood between tags when it was read, and cannot be wrong.
    };
    /// Appends the text of the element. A new element stands on a line of its own, two blanks further in than `depth` elements
    /// around it.
    void write(QString& text, int depth, Part part = Part::Whole) const;

private:
    friend class XmlText;

    /// A child, or the text between two of them as it was read, which is an element without a name.
    using Content = std::vector<XmlElement>;

    [[nodiscard]] bool isText() const { return m_name.isEmpty(); }
    [[nodiscard]] bool isBlank() const;
    [[nodiscard]] static XmlElement between(const QString& text, bool isNew);
    void writeStartTag(QString& text) const;

    bool m_isNew = true; ///< Not read from a text.
    QString m_name;
    QVector<QPair<QString, QString>> m_attributes;
    QString m_start; ///< The start tag, or the text between two elements, as it was read. Empty: made from the attributes.
    Content m_content;
    QString m_end; ///< The end tag as it was read; empty as for `m_start`.
    QString m_text;
};

} // namespace Velquor::Util
