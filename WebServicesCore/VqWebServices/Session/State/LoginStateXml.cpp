#include "Session/State/LoginStateXml.h"

#include <QVector>
#include <algorithm>

namespace Velquor::WebServices::Internal::LoginStateXml {

namespace {

constexpr int maximumTextLength = 1024;

}

bool isStorable(uint character) {
    const bool isControl = character < 0x20 || (character >= 0x7f && character < 0xa0);
    return !isControl && !QChar::isSurrogate(character) && !QChar::isNonCharacter(character);
}

QString storableText(const QString& text) {
    QVector<uint> characters = text.toUcs4();
    characters.erase(std::remove_if(characters.begin(), characters.end(), [](uint character) { return !isStorable(character); }),
                     characters.end());
    characters.resize(qMin(characters.size(), maximumTextLength));
    return QString::fromUcs4(characters.constData(), characters.size());
}

void setText(QDomElement& element, const QString& name, const QString& text) {
    element.setAttribute(name, storableText(text));
}

void setDate(QDomElement& element, const QString& name, const QDateTime& date) {
    element.setAttribute(name, date.isValid() ? date.toUTC().toString(Qt::ISODate) : QString());
}

QDateTime date(const QDomElement& element, const QString& name) {
    const QDateTime read = QDateTime::fromString(element.attribute(name), Qt::ISODate);
    return read.isValid() ? read.toUTC() : QDateTime();
}

void setFlag(QDomElement& element, const QString& name, bool value) {
    element.setAttribute(name, value ? QStringLiteral("True") : QStringLiteral("False"));
}

int number(const QDomElement& element, const QString& name, int fallback) {
    bool valid = false;
    const int value = element.attribute(name).toInt(&valid);
    return valid ? value : fallback;
}

void setSecret(QDomElement& parent, const QString& name, const QByteArray& encrypted) {
    removeChildren(parent, name);
    if (encrypted.isEmpty())
        return;
    QDomDocument document = parent.ownerDocument();
    QDomElement child = document.createElement(name);
    child.appendChild(document.createCDATASection(QString::fromLatin1(encrypted)));
    parent.appendChild(child);
}

QByteArray secret(const QDomElement& parent, const QString& name) {
    return parent.firstChildElement(name).text().trimmed().toLatin1();
}

void removeChildren(QDomElement& parent, const QString& name, int kept) {
    QDomElement child = parent.firstChildElement(name);
    for (int index = 0; !child.isNull(); ++index) {
        const QDomElement next = child.nextSiblingElement(name);
        if (index >= kept)
            parent.removeChild(child);
        child = next;
    }
}

QDomElement childOrNew(QDomElement& parent, const QString& name) {
    QDomElement child = parent.firstChildElement(name);
    if (child.isNull()) {
        child = parent.ownerDocument().createElement(name);
        parent.appendChild(child);
    }
    return child;
}

} // namespace Velquor::WebServices::Internal::LoginStateXml
