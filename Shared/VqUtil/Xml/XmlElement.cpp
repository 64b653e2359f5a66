#include "VqUtil/Xml/XmlElement.h"

#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {

// Escapes what ends an attribute, and what a reader would turn into a blank.
void appendEscaped(QString& text, const QString& value) {
    for (const QChar character : value) {
        switch (character.unicode()) {
        case '<': text += QLatin1String("&lt;"); break;
        case '>': text += QLatin1String("&gt;"); break;
        case '&': text += QLatin1String("&amp;"); break;
        case '"': text += QLatin1String("&quot;"); break;
        case '\t': text += QLatin1String("&#9;"); break;
        case '\n': text += QLatin1String("&#10;"); break;
        case '\r': text += QLatin1String("&#13;"); break;
        default: text += character;
        }
    }
}

QString lineBreak(int depth) {
    return QLatin1Char('\n') + QString(2 * depth, QLatin1Char(' '));
}

} // namespace

XmlElement XmlElement::between(const QString& text, bool isNew) {
    XmlElement made;
    made.m_isNew = isNew;
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
    m_content = {between(QStringLiteral("<![CDATA[%1]]>").arg(text), true)};
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

void XmlElement::writeStartTag(QString& text) const {
    text += QLatin1Char('<') + m_name;
    for (const auto& attribute : m_attributes) {
        text += QLatin1Char(' ') + attribute.first + QLatin1String("=\"");
        appendEscaped(text, attribute.second);
        text += QLatin1Char('"');
    }
    text += QLatin1String(m_content.empty() ? "/>" : ">");
}

void XmlElement::write(QString& text, int depth, Part part) const {
    if (part == Part::Changeable && isText() && !m_isNew)
        return;
    if (m_start.isEmpty())
        writeStartTag(text);
    else
        text += m_start;
    if (isText() || text.endsWith(QLatin1String("/>")))
        return;
    bool isAfterText = false;
    for (const XmlElement& child : m_content) {
        if (child.m_isNew && !child.isText() && !isAfterText)
            text += lineBreak(depth + 1);
        child.write(text, depth + 1, part);
        isAfterText = child.isText();
    }
    if (!m_content.empty() && m_content.back().m_isNew && !isAfterText)
        text += lineBreak(depth);
    text += m_end.isEmpty() ? QStringLiteral("</%1>").arg(m_name) : m_end;
}

} // namespace Velquor::Util
