#include "Session/LoginStateXml.h"

namespace Velquor::WebServices::LoginStateXml {

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
    for (QDomElement old = parent.firstChildElement(name); !old.isNull(); old = parent.firstChildElement(name))
        parent.removeChild(old);
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

QDomElement childOrNew(QDomElement& parent, const QString& name) {
    QDomElement child = parent.firstChildElement(name);
    if (child.isNull()) {
        child = parent.ownerDocument().createElement(name);
        parent.appendChild(child);
    }
    return child;
}

} // namespace Velquor::WebServices::LoginStateXml
