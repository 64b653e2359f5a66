#pragma once

/// @file
/// The C interface for C++17 and every compiler: nothing but templates and inline functions over vqws.h, so that nothing of the
/// standard library passes between the program and the library.
///
/// A function returns a `Result`: the value, or the result code with the text of the log. `value()` throws `vqws::Error` instead,
/// for those who ask for exceptions. Registrations and the library itself end with their objects. Thread: as in vqws.h.

#include <VqWebServices/vqws.h>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vqws {

/// Thrown by `Result::value` and by nothing else.
class Error : public std::runtime_error {
public:
    /// As `vqws_last_error` tells it.
    Error(std::int32_t code, std::int32_t httpStatus, const std::string& text)
        : std::runtime_error(text)
        , m_code(code)
        , m_httpStatus(httpStatus) {}
    /** @{ */
    /// The result (VQWS_...), and the status of HTTP or 0.
    [[nodiscard]] std::int32_t code() const { return m_code; }
    [[nodiscard]] std::int32_t httpStatus() const { return m_httpStatus; }
    /** @} */

private:
    std::int32_t m_code;
    std::int32_t m_httpStatus;
};

/// What a call gave. True when it succeeded.
template <class Value>
class [[nodiscard]] Result {
public:
    /// Keeps what this thread is told of the call.
    Result(std::int32_t code, Value value)
        : m_code(code)
        , m_value(std::move(value)) {
        if (code == VQWS_OK)
            return;
        vqws_error error{};
        error.size = sizeof error;
        std::size_t length = 0;
        char text[1024] = "";
        if (vqws_last_error(&error, text, sizeof text, &length) == VQWS_BUFFER) {
            m_text.resize(length + 1);
            (void)vqws_last_error(&error, m_text.data(), m_text.size(), &length);
            m_text.resize(length);
        } else {
            m_text = text;
        }
        m_httpStatus = error.http_status;
    }
    /// Whether the call succeeded.
    explicit operator bool() const { return m_code == VQWS_OK; }
    /** @{ */
    /// The result (VQWS_...), and the status of HTTP or 0.
    [[nodiscard]] std::int32_t code() const { return m_code; }
    [[nodiscard]] std::int32_t httpStatus() const { return m_httpStatus; }
    /** @} */
    /// Why the call failed; empty when it did not.
    [[nodiscard]] const std::string& text() const { return m_text; }
    /** @{ */
    /// The value, also when the call failed: 0 or empty then.
    [[nodiscard]] const Value& operator*() const { return m_value; }
    [[nodiscard]] const Value* operator->() const { return &m_value; }
    /** @} */
    /// Throws `Error` when the call failed.
    [[nodiscard]] const Value& value() const {
        if (m_code != VQWS_OK)
            throw Error(m_code, m_httpStatus, m_text);
        return m_value;
    }

private:
    std::int32_t m_code;
    std::int32_t m_httpStatus = 0;
    std::string m_text;
    Value m_value;
};

/// The result of a call that gives nothing.
struct Nothing {};
/// The result of such a call.
using Done = Result<Nothing>;

/// The text for a struct of vqws.h; it must outlive the call.
[[nodiscard]] inline vqws_text text(std::string_view given) {
    return {given.data() ? given.data() : "", given.size()};
}

/// Runs a function of vqws.h that fills (buf, cap, len), whatever the length of the text is.
template <class Function, class... Arguments>
Result<std::string> readText(Function function, Arguments... arguments) {
    std::string buffer(512, '\0');
    std::size_t length = 0;
    std::int32_t code = function(arguments..., buffer.data(), buffer.size(), &length);
    if (code == VQWS_BUFFER) {
        buffer.resize(length + 1);
        code = vqws_take_text(buffer.data(), buffer.size(), &length);
    }
    buffer.resize(code == VQWS_OK ? length : 0);
    return {code, std::move(buffer)};
}

/// Runs a function of vqws.h that fills a number or a truth.
template <class Number, class Function, class... Arguments>
Result<Number> readNumber(Function function, Arguments... arguments) {
    std::conditional_t<std::is_same_v<Number, bool>, std::int32_t, Number> number = 0;
    const std::int32_t code = function(arguments..., &number);
    return {code, static_cast<Number>(number)};
}

/// The library, while this object lives.
class Library {
public:
    /// With these options; a failure is told by `started`.
    explicit Library(const vqws_init_options& options)
        : m_started(vqws_init(&options), {}) {}
    /// Events come on a thread of the library with VQWS_MODE_OWN, on the calling one with VQWS_MODE_HOST.
    explicit Library(std::int32_t mode)
        : Library(optionsFor(mode)) {}
    ~Library() {
        if (m_started)
            (void)vqws_uninit();
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// Whether it has started.
    [[nodiscard]] const Done& started() const { return m_started; }

private:
    static vqws_init_options optionsFor(std::int32_t mode) {
        vqws_init_options options{};
        options.size = sizeof options;
        options.mode = mode;
        return options;
    }
    Done m_started;
};

/// A registration for events or lines of the log. The function may be called until this object is destroyed, which waits for a
/// running call of another thread. An exception of the function ends there; the answer is 0 then.
class Registration {
public:
    /** @{ */
    /// What is called: for an event, with the answer to it; for a line of the log, with its level.
    using EventFunction = std::function<std::int32_t(const vqws_event&)>;
    using LogFunction = std::function<void(std::int32_t, std::string_view)>;
    /** @} */

    /** @{ */
    /// Registers the function; a failure is told by `accepted`.
    explicit Registration(EventFunction function)
        : m_result(add(std::move(function))) {}
    explicit Registration(LogFunction function)
        : m_result(add(std::move(function))) {}
    /** @} */
    ~Registration() {
        if (m_result)
            (void)vqws_unobserve(*m_result);
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    /// Whether it was accepted.
    [[nodiscard]] const Result<std::uint64_t>& accepted() const { return m_result; }

private:
    static Result<std::uint64_t> add(EventFunction function) {
        auto owned = std::make_unique<EventFunction>(std::move(function));
        std::uint64_t id = 0;
        const std::int32_t code = vqws_observe(&Registration::hear, owned.get(), &Registration::release<EventFunction>, &id);
        return kept(code, id, owned);
    }
    static Result<std::uint64_t> add(LogFunction function) {
        auto owned = std::make_unique<LogFunction>(std::move(function));
        std::uint64_t id = 0;
        const std::int32_t code = vqws_observe_log(&Registration::take, owned.get(), &Registration::release<LogFunction>, &id);
        return kept(code, id, owned);
    }
    template <class Owned>
    static Result<std::uint64_t> kept(std::int32_t code, std::uint64_t id, Owned& owned) {
        // From now on the library releases it.
        if (code == VQWS_OK)
            static_cast<void>(owned.release());
        return {code, id};
    }
    static std::int32_t VQWS_CALL hear(const vqws_event* event, void* user) {
        try {
            return (*static_cast<EventFunction*>(user))(*event);
        } catch (...) {
            return 0;
        }
    }
    static void VQWS_CALL take(std::int32_t level, const char* line, std::size_t length, void* user) {
        try {
            (*static_cast<LogFunction*>(user))(level, std::string_view(line, length));
        } catch (...) {
        }
    }
    template <class Function>
    static void VQWS_CALL release(void* user) {
        delete static_cast<Function*>(user);
    }
    Result<std::uint64_t> m_result;
};

/// A request to sign; the texts are copied by the call.
struct Request {
    std::string url;                                              ///< As in vqws_request.
    std::int32_t method = VQWS_GET;                               ///< VQWS_GET and its like.
    std::int32_t mode = VQWS_SIGN_HEADER;                         ///< VQWS_SIGN_...
    std::vector<std::pair<std::string, std::string>> params = {}; ///< Names and values.
};

/// A client: one product of the process. Without a key it is the client of the process itself. The functions of vqws.h that are
/// not here take `data()` and `size()`, through `readText` and `readNumber`.
class Client {
public:
    Client() = default;
    /// With this key.
    explicit Client(std::string key)
        : m_key(std::move(key)) {}

    /** @{ */
    /// The key as the functions of vqws.h take it.
    [[nodiscard]] const char* data() const { return m_key ? m_key->data() : nullptr; }
    [[nodiscard]] std::size_t size() const { return m_key ? m_key->size() : 0; }
    /** @} */

    /// `config.size` is set here.
    Done setConfig(vqws_config config) const {
        config.size = sizeof config;
        return done(vqws_set_config(data(), size(), &config));
    }
    /** @{ */
    /// As the functions of vqws.h.
    Done restoreLogin() const { return done(vqws_restore_login(data(), size())); }
    Result<std::string> initiateLogin(std::string_view user = {}) const {
        return readText(vqws_initiate_login, data(), size(), user.data(), user.size());
    }
    Done completeLogin(std::string_view cookies = {}) const {
        return done(vqws_complete_login(data(), size(), cookies.data(), cookies.size()));
    }
    Done logout() const { return done(vqws_logout(data(), size())); }
    Result<bool> isLoggedIn() const { return readNumber<bool>(vqws_is_logged_in, data(), size()); }
    Result<std::string> userName() const { return readText(vqws_get_user_name, data(), size()); }
    Result<std::string> accessToken(bool checkExpiry = true) const {
        return readText(vqws_get_access_token, data(), size(), std::int32_t(checkExpiry));
    }
    Result<std::string> sign(const Request& request) const {
        std::vector<vqws_param> params;
        for (const auto& [name, value] : request.params)
            params.push_back({text(name), text(value)});
        vqws_request made{};
        made.size = sizeof made;
        made.method = request.method;
        made.mode = request.mode;
        made.url = text(request.url);
        made.params = params.data();
        made.param_count = params.size();
        return readText(vqws_sign_request, data(), size(), const_cast<const vqws_request*>(&made));
    }
    /** @} */

private:
    static Done done(std::int32_t code) { return {code, {}}; }
    std::optional<std::string> m_key;
};

} // namespace vqws
