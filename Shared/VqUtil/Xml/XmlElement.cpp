#include "VqUtil/Xml/XmlElement.h"

#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {

// Escapes what ends an attribute, and what a reader would turn into a blank.
QString escaped(const QString& value) {
    QString text = value.toHtmlEscaped();
    for (const char character : {'\t', '\n', '\r'})
        text.replace(QLatin1Char(character), QStringLiteral("&#%1;").arg(static_cast<int>(character)));
    return text;
}

QString lineBreak(int depth) {
    return QLatin1Char('\n') + QString(2 * depth, QLatin1Char(' '));
}

} // namespace

XmlElement XmlElement::between(const QString& text) {
    XmlElement made;
    made.m_start = text;
    return made;
}

bool XmlElement::isBlank() const {
    return isText() && m_start.trimmed().isEmpty();
}

bool XmlElement::hasAttribute(const QString& name) const {
    return std::any_of(m_attributes.begin(), m_attributes.end(), [&](const auto& known) { return known.first == name; });
}

QString XmlElement::attribute(const QString& name) const {
    for (const auto& known : m_attributes) {
        if (known.first == name)
            return known.second;
    }
    return {};
}

void XmlElement::setAttribute(const QString& name, const QString& value) {
    const auto known =
        std::find_if(m_attributes.begin(), m_attributes.end(), [&](const auto& attribute) { return attribute.first == name; });
    if (known != m_attributes.end() && known->second == value)
        return;
    if (known == m_attributes.end())
        m_attributes.append({name, value});
    else
        known->second = value;
    m_start.clear();
}

void XmlElement::removeAttribute(const QString& name) {
    const auto gone =
        std::remove_if(m_attributes.begin(), m_attributes.end(), [&](const auto& known) { return known.first == name; });
    if (gone == m_attributes.end())
        return;
    m_attributes.erase(gone, m_attributes.end());
    m_start.clear();
}

void XmlElement::setCData(const QString& text) {
    if (m_text == text && m_content.size() == 1)
        return;
    m_text = text;
    m_content = {between(QStringLiteral("<![CDATA[%1]]>").arg(text))};
    m_start.clear();
}

const XmlElement* XmlElement::child(const QString& name) const {
    const auto found = std::find_if(m_content.begin(), m_content.end(), [&](const auto& child) { return child.m_name == name; });
    return found == m_content.end() ? nullptr : &*found;
}

XmlElement* XmlElement::child(const QString& name) {
    return const_cast<XmlElement*>(std::as_const(*this).child(name));
}

std::vector<const XmlElement*> XmlElement::children(const QString& name) const {
    std::vector<const XmlElement*> found;
    for (const XmlElement& child : m_content) {
        if (child.m_name == name)
            found.push_back(&child);
    }
    return found;
}

std::vector<XmlElement*> XmlElement::children(const QString& name) {
    std::vector<XmlElement*> found;
    for (XmlElement& child : m_content) {
        if (child.m_name == name)
            found.push_back(&child);
    }
    return found;
}

XmlElement& XmlElement::childOrNew(const QString& name) {
    XmlElement* const known = child(name);
    return known ? *known : append(XmlElement(name));
}

XmlElement& XmlElement::append(const XmlElement& child) {
    // The line break before the end tag stays there.
    const bool endsBlank = !m_content.empty() && m_content.back().isBlank();
    // An empty element may have been read as "<name/>".
    if (m_content.empty())
        m_start.clear();
    return *m_content.insert(m_content.end() - (endsBlank ? 1 : 0), child);
}

void XmlElement::remove(const XmlElement* child) {
    const auto index = static_cast<std::ptrdiff_t>(child - m_content.data());
    const auto first = m_content.begin() + index;
    const bool hasLine = index > 0 && m_content[static_cast<std::size_t>(index - 1)].isBlank();
    m_content.erase(hasLine ? first - 1 : first, first + 1);
}

void XmlElement::removeChildren(const QString& name, int kept) {
    // From the back, since a removal moves only what stands behind it.
    for (std::vector<XmlElement*> left = children(name); left.size() > static_cast<std::size_t>(kept); left.pop_back())
        remove(left.back());
}

QString XmlElement::startTag() const {
    QString tag = QLatin1Char('<') + m_name;
    for (const auto& attribute : m_attributes)
        tag += QStringLiteral(" %1=\"%2\"").arg(attribute.first, escaped(attribute.second));
    return tag + (m_content.empty() ? QStringLiteral("/>") : QStringLiteral(">"));
}

void XmlElement::write(QString& text, int depth) const {
    text += m_start.isEmpty() ? startTag() : m_start;
    if (isText() || text.endsWith(QLatin1String("/>")))
        return;
    bool isAfterText = false;
    for (const XmlElement& child : m_content) {
        if (child.m_isNew && !child.isText() && !isAfterText)
            text += lineBreak(depth + 1);
        child.write(text, depth + 1);
        isAfterText = child.isText();
    }
    if (!m_content.empty() && m_content.back().m_isNew && !isAfterText)
        text += lineBreak(depth);
    text += m_end.isEmpty() ? QStringLiteral("</%1>").arg(m_name) : m_end;
}

} // namespace Velquor::Util
