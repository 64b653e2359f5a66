#include "Events/EventDocument.h"

#include "Events/ParamText.h"
#include "VqUtil/Xml/BoundedXml.h"
#include "VqUtil/Xml/NewXmlDocument.h"

#include <QDomDocument>

namespace Velquor::WebServices::Internal {

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
const auto listType = QStringLiteral("List");

// Number types without a variant type of their own are written as the next wider type that has one.
QVariant plainValue(const QVariant& value) {
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short: return value.toInt();
    case QMetaType::UChar:
    case QMetaType::UShort: return value.toUInt();
    case QMetaType::Long: return value.toLongLong();
    case QMetaType::ULong: return value.toULongLong();
    case QMetaType::Float: return value.toDouble();
    default: return value;
    }
}

// The format's type names: the framework's type names without their leading letter, and the plain types in its spelling.
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
    case QMetaType::QVariantList: return listType;
    case QMetaType::QVariantHash: return QStringLiteral("Hash");
    default: break;
    }
    const QString own = QString::fromLatin1(value.typeName());
    return value.userType() < QMetaType::User && own.startsWith(QLatin1Char('Q')) ? own.mid(1) : QStringLiteral("UserType");
}

void writeParams(QDomDocument& document, QDomElement& parent, const QVariantMap& params);

void writeParam(QDomDocument& document, QDomElement& parent, const QString& name, const QVariant& given) {
    const QVariant value = plainValue(given);
    QDomElement param = document.createElement(paramTag);
    param.setAttribute(nameKey, name);
    param.setAttribute(typeKey, typeName(value));
    if (value.userType() == QMetaType::QVariantMap) {
        writeParams(document, param, value.toMap());
    } else if (value.userType() == QMetaType::QVariantList) {
        for (const QVariant& element : value.toList())
            writeParam(document, param, QString(), element);
    } else {
        param.appendChild(document.createTextNode(paramText(value)));
    }
    parent.appendChild(param);
}

void writeParams(QDomDocument& document, QDomElement& parent, const QVariantMap& params) {
    for (auto entry = params.cbegin(); entry != params.cend(); ++entry)
        writeParam(document, parent, entry.key(), entry.value());
}

QVariantMap readParams(const QDomElement& parent);

QVariant readParam(const QDomElement& param) {
    const QString type = param.attribute(typeKey);
    if (type == mapType)
        return readParams(param);
    if (type != listType)
        return paramValue(type, param.text());
    QVariantList list;
    for (QDomElement child = param.firstChildElement(paramTag); !child.isNull(); child = child.nextSiblingElement(paramTag))
        list.append(readParam(child));
    return list;
}

QVariantMap readParams(const QDomElement& parent) {
    QVariantMap params;
    for (QDomElement param = parent.firstChildElement(paramTag); !param.isNull(); param = param.nextSiblingElement(paramTag))
        params.insert(param.attribute(nameKey), readParam(param));
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
    // Without indentation: blanks would become part of the values.
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

} // namespace Velquor::WebServices::Internal
