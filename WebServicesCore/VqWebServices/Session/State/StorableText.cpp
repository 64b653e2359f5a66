#include "Session/State/StorableText.h"

#include <QVector>
#include <algorithm>

namespace Velquor::WebServices::Internal {

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

} // namespace Velquor::WebServices::Internal
