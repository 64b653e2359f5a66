#pragma once

#include "AccountState.h"

/// Where an event came from, as far as a product can know: the library does not say, but a product knows what it is doing itself.
enum class EventOrigin { ThisProcess, AnotherProcess, NotTold };

/// `isOfOtherProduct`: the event names the consumer key of a product that is not this one.
[[nodiscard]] EventOrigin originOf(const QString& event, bool isOfOtherProduct, Activity activity);
[[nodiscard]] QString originText(EventOrigin origin);
