// The product of product.c with vqws.hpp.

#include <VqWebServices/vqws.hpp>
#include <iostream>

extern "C" void trust_authority(const char* file);

namespace {

// In one piece, since events are told on another thread.
void say(const std::string& line) {
    std::cout << line + '\n' << std::flush;
}

template <class Value>
void tell(const std::string& what, const vqws::Result<Value>& result, const std::string& text) {
    say(what + ' ' + std::to_string(result.code()) + ' ' + (result ? text : result.text()));
}

vqws::Done configure(const vqws::Client& client) {
    vqws_config config{};
    config.consumer_key = vqws::text("demo-product-0001");
    config.consumer_secret = vqws::text("demo-secret-0001");
    return client.setConfig(config);
}

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
        say("event " + std::to_string(event.kind));
        throw std::runtime_error("an observer that fails");
    }));
    const vqws::Client client;
    if (!library.started() || !events.accepted() || !configure(client) || !throwsNotSignedIn(client))
        return 1;
    tell("start", client.restoreLogin(), "");
    for (std::string line; std::getline(std::cin, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line == "login") {
            const auto url = client.initiateLogin();
            tell(line, url, *url);
        } else if (line == "complete") {
            tell(line, client.completeLogin(), "");
        } else if (line == "user") {
            const auto name = client.userName();
            tell(line, name, *name);
        } else if (line.rfind("sign ", 0) == 0) {
            const auto header = client.sign({line.substr(5)});
            tell("sign", header, *header);
        } else if (line == "logout") {
            tell(line, client.logout(), "");
        } else {
            return 3;
        }
    }
    return 0;
}
