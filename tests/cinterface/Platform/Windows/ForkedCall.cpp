#include "../ForkedCall.h"

int resultInForkedChild(const std::function<int()>&, int otherwise) {
    return otherwise;
}
