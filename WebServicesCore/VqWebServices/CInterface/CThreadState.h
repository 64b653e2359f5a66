#pragma once

#include "VqUtil/Crypto/SecretBytes.h"
#include "VqUtil/General/PerThread.h"

#include <QByteArray>
#include <cstdint>

namespace Velquor::WebServices::Internal {

/// What the C interface keeps for each thread: why its last call failed, and the text that did not fit into its buffer.
/// Thread: its own. Owner: the thread.
struct CThreadState {
    static CThreadState& ofThisThread() {
        // Never destroyed, since threads may outlive it.
        static auto* const all = new Util::PerThread<CThreadState>;
        return all->get();
    }

    int32_t code = 0;
    int32_t httpStatus = 0;
    QByteArray text;
    Util::SecretBytes kept;
    bool hasKept = false;
};

} // namespace Velquor::WebServices::Internal
