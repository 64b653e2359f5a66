#pragma once

#include <QDomDocument>
#include <QString>

namespace Velquor::Util {

/// A document in UTF-8 with an empty document element of this name. Thread: any.
[[nodiscard]] QDomDocument newXmlDocument(const QString& rootName);

} // namespace Velquor::Util
