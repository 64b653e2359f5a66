#pragma once

#include <QJsonArray>
#include <QWidget>

/// What a test cannot see from outside: whether texts fit, and their colours. Thread: the main thread.
namespace TextMeasures {

/// The visible texts that need more space than they have.
[[nodiscard]] QJsonArray cutOffTexts(const QWidget& window);
/// Each visible text with its colour and the colour that is painted behind it.
[[nodiscard]] QJsonArray colours(QWidget& window);

} // namespace TextMeasures
