#include "VqUtil/Xml/XmlText.h"

#include "VqUtil/Xml/BoundedXmlReader.h"
#include "VqUtil/Xml/XmlScan.h"

#include <utility>

namespace Velquor::Util {

namespace {

// A tag cannot contain this character, so it begins where the character stands last.
int tagBegin(const QString& text, int end) {
    return text.lastIndexOf(QLatin1Char('<'), end - 1);
}

} // namespace

XmlText::XmlText(const QString& rootName)
    : m_before(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"))
    , m_root(rootName)
    , m_behind(QStringLiteral("\n")) {}

Result<XmlText> XmlText::parse(const QByteArray& text, const XmlLimits& limits) {
    if (text.size() > limits.size)
        return Failure{QStringLiteral("The text is larger than %1 bytes").arg(limits.size)};
    const Result<QString> characters = utf8Characters(text);
    if (!characters)
        return Failure{characters.reason()};
    XmlText made;
    const Result<void> isRead = made.read(*characters, limits);
    return isRead ? Result<XmlText>(std::move(made)) : Result<XmlText>(Failure{isRead.reason()});
}

Result<void> XmlText::read(const QString& text, const XmlLimits& limits) {
    BoundedXmlReader reader(text, limits);
    int end = 0;
    while (reader.next()) {
        if (!reader.token().isStartElement())
            continue;
        m_before = text.left(tagBegin(text, static_cast<int>(reader.token().characterOffset())));
        m_root = readElement(reader, text, end);
    }
    m_behind = text.mid(end);
    m_length = text.size();
    return reader.fault().isEmpty() ? Result<void>() : Failure{reader.fault()};
}

XmlElement XmlText::readElement(BoundedXmlReader& reader, const QString& text, int& end) {
    const QXmlStreamReader& token = reader.token();
    XmlElement made(token.qualifiedName().toString());
    made.m_isNew = false;
    const QXmlStreamAttributes attributes = token.attributes();
    made.m_attributes.reserve(attributes.size());
    for (const QXmlStreamAttribute& attribute : attributes)
        made.m_attributes.append({attribute.qualifiedName().toString(), attribute.value().toString()});
    end = static_cast<int>(token.characterOffset());
    const int begin = tagBegin(text, end);
    made.m_start = text.mid(begin, end - begin);
    while (reader.next() && !token.isEndElement()) {
        if (token.isCharacters())
            made.m_text += token.text();
        if (!token.isStartElement())
            continue;
        const int next = tagBegin(text, static_cast<int>(token.characterOffset()));
        if (next > end)
            made.m_content.push_back(XmlElement::between(text.mid(end, next - end), false));
        made.m_content.push_back(readElement(reader, text, end));
    }
    const int tagEnd = static_cast<int>(token.characterOffset());
    const int next = tagEnd == end ? end : tagBegin(text, tagEnd);
    if (next > end)
        made.m_content.push_back(XmlElement::between(text.mid(end, next - end), false));
    made.m_end = text.mid(next, tagEnd - next);
    end = tagEnd;
    return made;
}

// Read as parse() reads it: the declaration may name an encoding that nobody knows.
Result<QByteArray> XmlText::toReadableBytes(const XmlLimits& limits) const {
    const QByteArray bytes = toBytes();
    if (bytes.size() > limits.size)
        return Failure{QStringLiteral("The text is larger than %1 bytes").arg(limits.size)};
    BoundedXmlReader reader(written(XmlElement::Part::Changeable), limits);
    while (reader.next()) {
    }
    return reader.fault().isEmpty() ? Result<QByteArray>(bytes) : Result<QByteArray>(Failure{reader.fault()});
}

QString XmlText::written(XmlElement::Part part) const {
    QString text;
    text.reserve(m_length + m_length / 8);
    text += m_before;
    m_root.write(text, 0, part);
    text += m_behind;
    return text;
}

} // namespace Velquor::Util
