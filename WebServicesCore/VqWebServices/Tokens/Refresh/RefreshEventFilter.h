#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/ProcessState/ISharedBlock.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// Shows other processes of the user which process is refreshing which product's token, in a small shared block that other
/// programs read. Nothing here depends on it.
///
/// Thread: one at a time. Owner: the token refresher. Errors: one log line, and the refresh goes on without it.
class RefreshEventFilter {
public:
    /// `folder` is the folder of the block on systems where it is a file.
    RefreshEventFilter(const QString& folder, std::shared_ptr<Log::ILogger> logger);

    void show(const QString& consumerKey);
    void clear();

private:
    [[nodiscard]] bool ensureCreated();

    const std::shared_ptr<Log::ILogger> m_logger;
    const std::unique_ptr<Util::ISharedBlock> m_block;
};

} // namespace Velquor::WebServices::Internal
