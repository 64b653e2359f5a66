#include "Events/ParamText.h"

#include <QBitArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QStringList>
#include <QUrl>

namespace Velquor::WebServices::Internal {

namespace {

// XML cannot hold control characters and lone surrogates; they are written as "%" and four hexadecimal digits.
bool mustBeEscaped(QChar character) {
    const ushort code = character.unicode();
    return code == '%' || code < 0x20 || (code >= 0xd800 && code <= 0xdfff) || code >= 0xfffe;
}

// A leading space is escaped too, since the parser drops a text of spaces alone.
QString escaped(const QString& text) {
    QString result;
    for (const QChar character : text)
        result += mustBeEscaped(character) || (result.isEmpty() && character.isSpace())
                      ? QStringLiteral("%%1").arg(character.unicode(), 4, 16, QLatin1Char('0'))
                      : QString(character);
    return result;
}

QString unescaped(const QString& text) {
    QString result;
    for (int index = 0; index < text.size(); ++index) {
        bool isCode = false;
        const ushort code = text[index] == QLatin1Char('%') ? text.mid(index + 1, 4).toUShort(&isCode, 16) : ushort(0);
        result += isCode ? QChar(code) : text[index];
        index += isCode ? 4 : 0;
    }
    return result;
}

QString bitText(const QBitArray& bits) {
    QString text;
    for (int index = 0; index < bits.size(); ++index)
        text += bits.testBit(index) ? QLatin1Char('1') : QLatin1Char('0');
    return text;
}

QBitArray bitValue(const QString& text) {
    QBitArray bits(text.size());
    for (int index = 0; index < text.size(); ++index)
        bits.setBit(index, text[index] == QLatin1Char('1'));
    return bits;
}

template <class Number>
QVariant numberValue(const QString& text, Number (QString::*convert)(bool*, int) const) {
    bool valid = false;
    const Number number = (text.*convert)(&valid, 10);
    return valid ? QVariant::fromValue(number) : QVariant();
}

QVariant doubleValue(const QString& text) {
    bool valid = false;
    const double number = QLocale::c().toDouble(text, &valid);
    return valid ? QVariant(number) : QVariant();
}

QVariant charValue(const QString& text) {
    const QString character = unescaped(text);
    return character.size() == 1 ? QVariant(character.front()) : QVariant();
}

QVariant objectValue(const QString& typeName, const QString& text) {
    switch (QMetaType::type('Q' + typeName.toLatin1())) {
    case QMetaType::QChar: return charValue(text);
    case QMetaType::QString: return unescaped(text);
    case QMetaType::QStringList: return QVariant(QJsonDocument::fromJson(text.toUtf8()).array().toVariantList()).toStringList();
    case QMetaType::QByteArray: return QByteArray::fromBase64(text.toLatin1());
    case QMetaType::QBitArray: return bitValue(text);
    case QMetaType::QDate: return QDate::fromString(text, Qt::ISODate);
    case QMetaType::QTime: return QTime::fromString(text, Qt::ISODateWithMs);
    case QMetaType::QDateTime: return QDateTime::fromString(text, Qt::ISODateWithMs);
    case QMetaType::QUrl: return QUrl::fromEncoded(text.toLatin1(), QUrl::StrictMode);
    default: return {};
    }
}

} // namespace

QString paramText(const QVariant& value) {
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::UnknownType: return {};
    case QMetaType::Bool: return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong: return value.toString();
    case QMetaType::Double: return QLocale::c().toString(value.toDouble(), 'g', 17);
    case QMetaType::QChar:
    case QMetaType::QString: return escaped(value.toString());
    case QMetaType::QStringList:
        return QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(value.toStringList())).toJson(QJsonDocument::Compact));
    case QMetaType::QByteArray: return QString::fromLatin1(value.toByteArray().toBase64());
    case QMetaType::QBitArray: return bitText(value.toBitArray());
    case QMetaType::QDate: return value.toDate().toString(Qt::ISODate);
    case QMetaType::QTime: return value.toTime().toString(Qt::ISODateWithMs);
    case QMetaType::QDateTime: return value.toDateTime().toUTC().toString(Qt::ISODateWithMs);
    case QMetaType::QUrl: return QString::fromLatin1(value.toUrl().toEncoded());
    default: return QStringLiteral("<<Error: Unsupported type>>");
    }
}

QVariant paramValue(const QString& typeName, const QString& text) {
    if (typeName == QLatin1String("Bool"))
        return text == QLatin1String("True");
    if (typeName == QLatin1String("Int"))
        return numberValue(text, &QString::toInt);
    if (typeName == QLatin1String("UInt"))
        return numberValue(text, &QString::toUInt);
    if (typeName == QLatin1String("LongLong"))
        return numberValue(text, &QString::toLongLong);
    if (typeName == QLatin1String("ULongLong"))
        return numberValue(text, &QString::toULongLong);
    if (typeName == QLatin1String("Double"))
        return doubleValue(text);
    return objectValue(typeName, text);
}

} // namespace Velquor::WebServices::Internal
