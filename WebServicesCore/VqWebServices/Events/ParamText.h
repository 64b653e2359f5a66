#pragma once

#include <QString>
#include <QVariant>

namespace Velquor::WebServices::Internal {

/// The text form of a parameter's value in "Event.xml", reversible for every type that has one. Maps and lists are elements
/// instead. Thread: any.

[[nodiscard]] QString paramText(const QVariant& value);

/// The value of a text; an invalid variant for a type without a text form, or a text that does not fit the type.
[[nodiscard]] QVariant paramValue(const QString& typeName, const QString& text);

} // namespace Velquor::WebServices::Internal
