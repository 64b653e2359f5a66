// The product of product.c with vqws.hpp.

#include "Orders.h"

extern "C" void trust_authority(const char* file);

namespace {

bool throwsNotSignedIn(const vqws::Client& client) {
    try {
        static_cast<void>(client.sign({"https://example.com/"}).value());
    } catch (const vqws::Error& error) {
        return error.code() == VQWS_NOT_SIGNED_IN && *error.what();
    }
    return false;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    trust_authority(arguments[2]);
    if (vqws_set_support_paths(arguments[1], VQWS_Z) != VQWS_OK)
        return 1;
    const vqws::Library library(VQWS_MODE_OWN);
    // What it throws must not reach the library.
    const vqws::Registration events(vqws::Registration::EventFunction([](const vqws_event& event) -> std::int32_t {
        Orders::say("event " + std::to_string(event.kind));
        throw std::runtime_error("an observer that fails");
    }));
    const vqws::Client client;
    if (!library.started() || !events.accepted() || !Orders::configure(client) || !throwsNotSignedIn(client))
        return 1;
    Orders::tell("start", client.restoreLogin(), "");
    for (std::string line; std::getline(std::cin, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!Orders::obey(client, line))
            return 3;
    }
    return 0;
}
