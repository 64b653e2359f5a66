#pragma once

#include <QJsonObject>

namespace Vqws {

class Library;

// What "status" and "dump" show, as objects. The library is signed on. Thread: the main thread.

[[nodiscard]] QJsonObject statusObject(const Library& library);
/// Without the processes.
[[nodiscard]] QJsonObject dumpObject(const Library& library);

} // namespace Vqws
