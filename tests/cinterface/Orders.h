#pragma once

#include <VqWebServices/vqws.hpp>
#include <iostream>

/// What the products of these tests do: each order is a line of standard input, and its answer a line of standard output. Thread:
/// any, one order at a time.
namespace Orders {

// In one piece, since events are told on another thread.
inline void say(const std::string& line) {
    std::cout << line + '\n' << std::flush;
}

template <class Value>
void tell(const std::string& what, const vqws::Result<Value>& result, const std::string& text) {
    say(what + ' ' + std::to_string(result.code()) + ' ' + (result ? text : result.text()));
}

inline vqws::Done configure(const vqws::Client& client) {
    vqws_config config{};
    config.consumer_key = vqws::text("demo-product-0001");
    config.consumer_secret = vqws::text("demo-secret-0001");
    return client.setConfig(config);
}

/// False when there is no such order.
inline bool obey(const vqws::Client& client, const std::string& order) {
    if (order == "login") {
        const auto url = client.initiateLogin();
        tell(order, url, *url);
    } else if (order == "complete") {
        tell(order, client.completeLogin(), "");
    } else if (order == "user") {
        const auto name = client.userName();
        tell(order, name, *name);
    } else if (order.rfind("sign ", 0) == 0) {
        const auto header = client.sign({order.substr(5)});
        tell("sign", header, *header);
    } else if (order == "logout") {
        tell(order, client.logout(), "");
    } else {
        return false;
    }
    return true;
}

} // namespace Orders
