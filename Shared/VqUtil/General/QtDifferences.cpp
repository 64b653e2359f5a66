#include "VqUtil/General/QtDifferences.h"

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QTextCodec>
#else
#include <QStringDecoder>
#endif

namespace Velquor::Util::QtDifferences {

namespace {

Failure unknownEncoding() {
    return Failure{QStringLiteral("The text is in an unknown encoding")};
}

Failure invalidText(const QByteArray& encoding) {
    return Failure{QStringLiteral("The text is not in %1").arg(QString::fromLatin1(encoding))};
}

} // namespace

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)

QByteArray markedEncoding(const QByteArray& bytes) {
    const QTextCodec* const codec = QTextCodec::codecForUtfText(bytes, nullptr);
    return codec ? codec->name() : QByteArray();
}

Result<QString> decoded(const QByteArray& bytes, const QByteArray& encoding) {
    const QTextCodec* const codec = QTextCodec::codecForName(encoding);
    if (!codec)
        return unknownEncoding();
    QTextCodec::ConverterState state;
    QString made = codec->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return invalidText(codec->name());
    return made;
}

#else

QByteArray markedEncoding(const QByteArray& bytes) {
    const auto encoding = QStringConverter::encodingForData(bytes);
    return encoding ? QStringConverter::nameForEncoding(*encoding) : QByteArray();
}

Result<QString> decoded(const QByteArray& bytes, const QByteArray& encoding) {
    // Stateless: a character that the end cuts is an error.
    QStringDecoder decoder(encoding.constData(), QStringConverter::Flag::Stateless);
    if (!decoder.isValid())
        return unknownEncoding();
    QString made = decoder.decode(bytes);
    if (decoder.hasError())
        return invalidText(decoder.name());
    return made;
}

#endif

} // namespace Velquor::Util::QtDifferences
