#include "VqUtil/Xml/XmlScan.h"

#include <QRegularExpression>
#include <QStringView>
#include <QTextCodec>

namespace Velquor::Util {

namespace {

QTextCodec* utf8() {
    constexpr int number = 106; // IANA's, of the encoding.
    return QTextCodec::codecForMib(number);
}

QTextCodec* codecOf(const QByteArray& text) {
    static const QRegularExpression declaration(QStringLiteral("^<\\?xml[^>]*\\sencoding\\s*=\\s*[\"']([A-Za-z0-9._-]+)[\"']"));
    constexpr int longestDeclaration = 256;
    QTextCodec* const marked = QTextCodec::codecForUtfText(text, nullptr);
    const QRegularExpressionMatch found = declaration.match(QString::fromLatin1(text.left(longestDeclaration)));
    if (marked || !found.hasMatch())
        return marked ? marked : utf8();
    return QTextCodec::codecForName(found.captured(1).toLatin1());
}

Result<QString> decoded(const QByteArray& text, QTextCodec* codec) {
    if (!codec)
        return Failure{QStringLiteral("The text is in an unknown encoding")};
    QTextCodec::ConverterState state;
    QString made = codec->toUnicode(text.constData(), text.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return Failure{QStringLiteral("The text is not in %1").arg(QString::fromLatin1(codec->name()))};
    return made;
}

// The end of what begins at `from` and ends with `end`; the end of the text when it does not.
int behind(const QString& text, const QString& end, int from) {
    const int at = text.indexOf(end, from);
    return at < 0 ? text.size() : at + end.size();
}

// The end of the tag that begins at `from`. Counts its attributes.
int behindTag(const QString& text, int from, int& attributes) {
    QChar quote;
    for (int at = from; at < text.size(); ++at) {
        const QChar character = text.at(at);
        if (!quote.isNull()) {
            if (character == quote)
                quote = QChar();
        } else if (character == QLatin1Char('>')) {
            return at + 1;
        } else if (character == QLatin1Char('"') || character == QLatin1Char('\'')) {
            quote = character;
        } else if (character == QLatin1Char('=')) {
            ++attributes;
        }
    }
    return text.size();
}

} // namespace

Result<QString> xmlCharacters(const QByteArray& text) {
    return decoded(text, codecOf(text));
}

Result<QString> utf8Characters(const QByteArray& text) {
    return decoded(text, utf8());
}

bool hasTagWithMoreAttributes(const QString& text, int limit) {
    for (int at = text.indexOf(QLatin1Char('<')); at >= 0; at = text.indexOf(QLatin1Char('<'), at)) {
        const QStringView rest = QStringView(text).mid(at, 9);
        int attributes = 0;
        if (rest.startsWith(QLatin1String("<!--")))
            at = behind(text, QStringLiteral("-->"), at + 4);
        else if (rest == QLatin1String("<![CDATA["))
            at = behind(text, QStringLiteral("]]>"), at + 9);
        else if (rest.startsWith(QLatin1String("<?")))
            at = behind(text, QStringLiteral("?>"), at + 2);
        else
            at = behindTag(text, at + 1, attributes);
        if (attributes > limit)
            return true;
    }
    return false;
}

} // namespace Velquor::Util
