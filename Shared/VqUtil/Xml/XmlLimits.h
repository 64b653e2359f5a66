#pragma once

#include <QtGlobal>

namespace Velquor::Util {

/// The limits for an XML text from outside.
struct XmlLimits {
    qint64 size = 1024LL * 1024; ///< Bytes.
    int depth = 32;              ///< Elements within elements.
    int elements = 10000;
    int attributes = 256; ///< Of one element.
};

} // namespace Velquor::Util
