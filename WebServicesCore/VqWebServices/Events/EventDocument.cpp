#include "Events/EventDocument.h"

#include "Events/ParamText.h"
#include "VqUtil/Xml/BoundedXml.h"
#include "VqUtil/Xml/NewXmlDocument.h"

#include <QDomDocument>

namespace Velquor::WebServices {

namespace {

const auto rootName = QStringLiteral("WebServicesEvent");
const auto eventTag = QStringLiteral("Event");
const auto paramsTag = QStringLiteral("Params");
const auto paramTag = QStringLiteral("Param");
const auto nameKey = QStringLiteral("Name");
const auto typeKey = QStringLiteral("Type");
const auto processKey = QStringLiteral("RaisedByProcess");
const auto idKey = QStringLiteral("Id");
const auto mapType = QStringLiteral("Map");

// The names of the framework's variant types: its own type names without their leading letter, and the plain ones in its spelling.
QString typeName(const QVariant& value) {
    switch (value.userType()) {
    case QMetaType::UnknownType: return QStringLiteral("Invalid");
    case QMetaType::Bool: return QStringLiteral("Bool");
    case QMetaType::Int: return QStringLiteral("Int");
    case QMetaType::UInt: return QStringLiteral("UInt");
    case QMetaType::LongLong: return QStringLiteral("LongLong");
    case QMetaType::ULongLong: return QStringLiteral("ULongLong");
    case QMetaType::Double: return QStringLiteral("Double");
    case QMetaType::QVariantMap: return mapType;
    case QMetaType::QVariantList: return QStringLiteral("List");
    default: break;
    }
    return value.userType() < QMetaType::User ? QString::fromLatin1(value.typeName()).mid(1) : QStringLiteral("UserType");
}

void writeParams(QDomDocument& document, QDomElement& parent, const QVariantMap& params) {
    for (auto entry = params.cbegin(); entry != params.cend(); ++entry) {
        QDomElement param = document.createElement(paramTag);
        param.setAttribute(nameKey, entry.key());
        param.setAttribute(typeKey, typeName(entry.value()));
        if (entry.value().userType() == QMetaType::QVariantMap)
            writeParams(document, param, entry.value().toMap());
        else
            param.appendChild(document.createTextNode(paramText(entry.value())));
        parent.appendChild(param);
    }
}

QVariantMap readParams(const QDomElement& parent) {
    QVariantMap params;
    for (QDomElement param = parent.firstChildElement(paramTag); !param.isNull(); param = param.nextSiblingElement(paramTag)) {
        const QString type = param.attribute(typeKey);
        params.insert(param.attribute(nameKey),
                      type == mapType ? QVariant(readParams(param)) : paramValue(type, param.text()));
    }
    return params;
}

} // namespace

QByteArray writeEventDocument(const EventDocument& event) {
    QDomDocument document = Util::newXmlDocument(rootName);
    QDomElement root = document.documentElement();
    QDomElement element = document.createElement(eventTag);
    element.setAttribute(processKey, QString::number(event.raisedByProcess));
    element.setAttribute(idKey, QString::number(event.id));
    root.appendChild(element);
    QDomElement params = document.createElement(paramsTag);
    writeParams(document, params, event.params);
    element.appendChild(params);
    // Without indentation: blanks would become part of the texts.
    return document.toByteArray(-1);
}

EventReadResult readEventDocument(const QByteArray& text, EventDocument& event) {
    const Util::XmlResult xml = Util::parseBoundedXml(text);
    if (!xml.isValid())
        return EventReadResult::NotXml;
    const QDomElement element = xml.document.documentElement().firstChildElement(eventTag);
    if (element.isNull())
        return EventReadResult::NoEvent;
    bool valid = false;
    const qint64 process = element.attribute(processKey).toLongLong(&valid);
    event.raisedByProcess = valid ? process : -1;
    const int id = element.attribute(idKey).toInt(&valid);
    event.id = valid ? id : -1;
    event.params = readParams(element.firstChildElement(paramsTag));
    return EventReadResult::Read;
}

} // namespace Velquor::WebServices
