#pragma once

#include <QString>

/// Shows all texts in this language, such as "de"; empty: in the language of the system. A text without a translation stays
/// English. Thread: the main thread, before the first window.
void applyLanguage(const QString& name);
