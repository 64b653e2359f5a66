#pragma once

#include <QAccessible>
#include <QWidget>

/// The roles of parts for assistive technology, where Qt cannot know them. Thread: the main thread.
namespace Accessibility {

/// Call it before the part is shown.
void setRole(QWidget& part, QAccessible::Role role);
/// Says that the part has something to tell at once.
void alert(QWidget& part);

} // namespace Accessibility
