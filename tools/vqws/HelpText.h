#pragma once

#include "CommandTable.h"

#include <QJsonObject>

namespace Vqws {

/// The help of the tool (null) or of a command, wrapped to the width of the terminal. A width of 0 means no terminal.
[[nodiscard]] QString helpText(const CommandInfo* command, int width);

/// The same as data: commands with their options, and the common options.
[[nodiscard]] QJsonObject helpObject(const CommandInfo* command);

} // namespace Vqws
