#pragma once

#include <functional>

/// The result of the call in a forked child of this process; `otherwise` where the system has no such thing.
[[nodiscard]] int resultInForkedChild(const std::function<int()>& call, int otherwise);
