#pragma once

#include "VqUtil/ProcessState/ProcessRecord.h"

#include <QByteArray>

namespace Velquor::Util {

/// The bytes of the process state block: a count, then the records, as QDataStream of Qt 5.15 writes them.
///
/// Thread: any. Errors: reading stops at bytes that are not a record. The records before them are kept. Values of other types
/// than this version uses are kept as they are.
namespace ProcessStateCodec {

struct Decoded {
    ProcessRecords records;
    int used = 0;     ///< The size of the records in bytes.
    int examined = 0; ///< The size of the prefix that decides the result: blocks with the same prefix decode alike.
};

/// Trusts no count and no length: each is checked against the remaining bytes. A record that ends after its path keeps the
/// properties read so far.
[[nodiscard]] Decoded decode(const QByteArray& block);

/// The data padded with zeros to `blockSize` bytes. Longer when the data is larger than the block.
[[nodiscard]] QByteArray encode(const ProcessRecords& records, int blockSize);

} // namespace ProcessStateCodec

} // namespace Velquor::Util
