#pragma once

#include <QByteArray>

/// The standard streams. Texts are UTF-8; on a Windows console they are shown as such whatever its code page is. Thread: any.
namespace Vqws::Console {

enum class Stream { Output, Error };

/// Keeps standard output for the results of the tool: what anybody else in the process writes there, as libraries do, goes to
/// standard error from now on, so that a reader of JSON gets nothing else. To be called first of all.
void takeStandardOutput();

void write(Stream stream, const QByteArray& text);

/// Columns of the terminal; 0 for a pipe or a file.
[[nodiscard]] int width(Stream stream);

} // namespace Vqws::Console
