#pragma once

#include "VqUtil/ProcessState/ProcessRecord.h"

#include <QStringList>

namespace Velquor::Util {

/// The content of the process state block for the log. Thread: any.
struct ProcessStateView {
    bool isAttached = false;
    int size = 0;
    int usedSize = 0;
    ProcessRecords records;
};

/// The lines of the dump.
[[nodiscard]] QStringList processStateDump(const QString& context, const ProcessStateView& view);

} // namespace Velquor::Util
