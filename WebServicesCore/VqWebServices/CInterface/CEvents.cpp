// The functions of the C interface for the life of the library, events and the log.

#include "CInterface/CCall.h"
#include "CInterface/CLife.h"
#include "CInterface/CRegistration.h"
#include "CInterface/CTokenSpec.h"
#include "VqLog/LogTap.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

QVector<OAuth2TokenSpec> specsFrom(const vqws_init_options& options) {
    require(options.oauth2 >= VQWS_OAUTH2_OFF && options.oauth2 <= VQWS_OAUTH2_SPEC);
    if (options.oauth2 == VQWS_OAUTH2_OFF)
        return {};
    if (options.oauth2 == VQWS_OAUTH2_DEFAULT)
        return {OAuth2Settings::legacySpec()};
    return {specFrom(options.oauth2_spec)};
}

std::optional<CLife::Options> optionsFrom(const vqws_init_options* given) {
    if (!given)
        return {};
    const vqws_init_options read = readStruct(given);
    require(read.reserved == 0, VQWS_UNSUPPORTED);
    require(read.mode == VQWS_MODE_HOST || read.mode == VQWS_MODE_OWN);
    return CLife::Options{read.mode, specsFrom(read), read.wake, read.wake_user};
}

void giveToHost(Log::Level level, const QByteArray& line) {
    const CLogCallbackScope scope;
    for (const auto& registration : CRegistrations::instance().all(CRegistrations::Kind::Log))
        registration->run([&] {
            registration->log(static_cast<int32_t>(level), line.constData(), static_cast<size_t>(line.size()),
                              registration->user);
        });
}

/// Held where the lines of the log are turned on and off. Never destroyed.
std::mutex& tapMutex() {
    static auto* const mutex = new std::mutex;
    return *mutex;
}

CRegistrations::Pointer registrationOf(void* user, vqws_release_fn release) {
    auto made = std::make_shared<CRegistration>();
    made->user = user;
    made->release = release;
    return made;
}

} // namespace

int32_t vqws_init(const vqws_init_options* options) noexcept {
    return CCall::run([&] { return CLife::instance().initialize(optionsFrom(options)); });
}

int32_t vqws_uninit() noexcept {
    return CCall::run([] { return CLife::instance().uninitialize(); });
}

int32_t vqws_is_initialized(int32_t* yes) noexcept {
    return tell(yes, [] { return WebServicesManager::IsInitialized(); });
}

int32_t vqws_dispatch() noexcept {
    return CCall::run([] { return CLife::instance().dispatch(); });
}

int32_t vqws_set_event_hook() noexcept {
    return act([] { return WebServicesManager::SetEventHook(); }, VQWS_UNSUPPORTED);
}

int32_t vqws_remove_event_hook() noexcept {
    return act([] { return WebServicesManager::RemoveEventHook(); }, VQWS_UNSUPPORTED);
}

int32_t vqws_observe(vqws_event_fn fn, void* user, vqws_release_fn release, uint64_t* id) noexcept {
    return CCall::run([&] {
        required(id) = 0;
        require(fn);
        require(CLife::instance().isRunning(), VQWS_STATE);
        const auto registration = registrationOf(user, release);
        registration->event = fn;
        *id = CRegistrations::instance().add(registration);
        return VQWS_OK;
    });
}

int32_t vqws_observe_log(vqws_log_fn fn, void* user, vqws_release_fn release, uint64_t* id) noexcept {
    return CCall::run([&] {
        required(id) = 0;
        require(fn);
        const auto registration = registrationOf(user, release);
        registration->log = fn;
        const std::lock_guard<std::mutex> lock(tapMutex());
        *id = CRegistrations::instance().add(registration);
        Log::LogTap::instance().setReceiver(&giveToHost);
        return VQWS_OK;
    });
}

int32_t vqws_get_log_drops(uint64_t* count) noexcept {
    return tell(count, [] { return Log::LogTap::instance().dropped(); });
}

int32_t vqws_unobserve(uint64_t id) noexcept {
    return act(
        [&] {
            const bool isEnded = CRegistrations::instance().end(id);
            const std::lock_guard<std::mutex> lock(tapMutex());
            if (CRegistrations::instance().all(CRegistrations::Kind::Log).empty())
                Log::LogTap::instance().setReceiver(nullptr);
            return isEnded;
        },
        VQWS_NOT_FOUND);
}
