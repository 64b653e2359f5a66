#include "VqUtil/Xml/XmlScan.h"

#include "VqUtil/General/QtDifferences.h"

#include <QRegularExpression>
#include <QStringView>
#include <algorithm>

namespace Velquor::Util {

namespace {

const QByteArray utf8 = QByteArrayLiteral("UTF-8");

QByteArray encodingOf(const QByteArray& text) {
    static const QRegularExpression declaration(QStringLiteral("^<\\?xml[^>]*\\sencoding\\s*=\\s*[\"']([A-Za-z0-9._-]+)[\"']"));
    constexpr int longestDeclaration = 256;
    const QByteArray marked = QtDifferences::markedEncoding(text);
    const QRegularExpressionMatch found = declaration.match(QString::fromLatin1(text.left(longestDeclaration)));
    if (!marked.isEmpty() || !found.hasMatch())
        return marked.isEmpty() ? utf8 : marked;
    return found.captured(1).toLatin1();
}

// The end of what begins at `from` and ends with `end`; the end of the text when it does not. By the first character, which the
// text hardly holds.
int behind(const QString& text, QLatin1String end, int from) {
    for (int at = text.indexOf(end.front(), from); at >= 0; at = text.indexOf(end.front(), at + 1)) {
        if (QStringView(text).mid(at, end.size()) == end)
            return at + end.size();
    }
    return text.size();
}

// The end of the tag that begins at `from`. Counts its attributes.
int behindTag(const QString& text, int from, int& attributes) {
    const QChar* const end = text.constEnd();
    for (const QChar* at = text.constBegin() + from; at != end; ++at) {
        if (*at == QLatin1Char('>'))
            return static_cast<int>(at - text.constBegin()) + 1;
        if (*at == QLatin1Char('='))
            ++attributes;
        if (*at != QLatin1Char('"') && *at != QLatin1Char('\''))
            continue;
        at = std::find(at + 1, end, *at);
        if (at == end)
            break;
    }
    return text.size();
}

} // namespace

Result<QString> xmlCharacters(const QByteArray& text) {
    return QtDifferences::decoded(text, encodingOf(text));
}

Result<QString> utf8Characters(const QByteArray& text) {
    return QtDifferences::decoded(text, utf8);
}

bool hasTagWithMoreAttributes(const QString& text, int limit) {
    for (int at = text.indexOf(QLatin1Char('<')); at >= 0; at = text.indexOf(QLatin1Char('<'), at)) {
        const QStringView rest = QStringView(text).mid(at, 9);
        int attributes = 0;
        if (rest.startsWith(QLatin1String("<!--")))
            at = behind(text, QLatin1String("-->"), at + 4);
        else if (rest == QLatin1String("<![CDATA["))
            at = behind(text, QLatin1String("]]>"), at + 9);
        else if (rest.startsWith(QLatin1String("<?")))
            at = behind(text, QLatin1String("?>"), at + 2);
        else
            at = behindTag(text, at + 1, attributes);
        if (attributes > limit)
            return true;
    }
    return false;
}

} // namespace Velquor::Util
