#pragma once

#include <QByteArray>

/// The standard streams. Texts are UTF-8. A Windows console shows them correctly whatever its code page is. Thread: any.
namespace Vqws::Console {

enum class Stream { Output, Error };

/// Reserves standard output for the results of the tool. From then on, output that libraries in the process write there goes to
/// standard error, so that a reader of JSON receives nothing else. Call it before everything else.
void takeStandardOutput();

void write(Stream stream, const QByteArray& text);

/// Columns of the terminal; 0 for a pipe or a file.
[[nodiscard]] int width(Stream stream);

} // namespace Vqws::Console
