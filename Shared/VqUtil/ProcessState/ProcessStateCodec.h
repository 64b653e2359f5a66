#pragma once

#include "VqUtil/ProcessState/ProcessRecord.h"

#include <QByteArray>

namespace Velquor::Util {

/// The bytes of the process state block: a count, then the records, as QDataStream of Qt 5.15 writes them.
///
/// Thread: any. Errors: bytes that are no records end the reading there; what was read until then stands.
namespace ProcessStateCodec {

struct Decoded {
    ProcessRecords records;
    int used = 0;     ///< The bytes that the records take up.
    int examined = 0; ///< The bytes that the result depends on: blocks that start with the same ones give the same result.
};

/// Trusts no count and no length: each is held against the bytes that are left. A record that breaks off behind its path
/// keeps the properties that were read.
[[nodiscard]] Decoded decode(const QByteArray& block);

/// At least `blockSize` bytes, zeros behind the data; more only when the data is larger than the block.
[[nodiscard]] QByteArray encode(const ProcessRecords& records, int blockSize);

} // namespace ProcessStateCodec

} // namespace Velquor::Util
