#pragma once

#include "AccountState.h"

/// The origin of an event, as far as a product can know it. The library does not report it, but a product knows its own actions.
enum class EventOrigin { ThisProcess, AnotherProcess, NotTold };

/// `isOfOtherProduct`: the event has the consumer key of another product.
[[nodiscard]] EventOrigin originOf(const QString& event, bool isOfOtherProduct, Activity activity);
[[nodiscard]] QString originText(EventOrigin origin);
