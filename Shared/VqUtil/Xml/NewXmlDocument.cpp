#include "VqUtil/Xml/NewXmlDocument.h"

namespace Velquor::Util {

QDomDocument newXmlDocument(const QString& rootName) {
    QDomDocument document;
    document.appendChild(
        document.createProcessingInstruction(QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    document.appendChild(document.createElement(rootName));
    return document;
}

} // namespace Velquor::Util
