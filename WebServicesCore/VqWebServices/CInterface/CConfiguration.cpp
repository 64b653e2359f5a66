// The functions of the C interface with the configuration, the server and the paths.

#include "CInterface/CCall.h"
#include "Runtime/LogSetupHelper.h"
#include "Runtime/RuntimePaths.h"
#include "Values/LibraryVersion.h"
#include "Values/WebServicesConfigurationImp.h"

#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

WebServicesConfiguration configurationFrom(const vqws_config& given) {
    WebServicesConfiguration made;
    WebServicesConfigurationImp& values = WebServicesConfigurationImp::of(made);
    values.server = static_cast<Server>(given.server);
    values.consumerKey.set(textFrom(given.consumer_key));
    values.consumerSecret.set(textFrom(given.consumer_secret));
    values.serialNumber = textFrom(given.serial_number);
    values.productLineCode = textFrom(given.product_line_code);
    values.upiRelease = textFrom(given.upi_release);
    values.upiMaster = textFrom(given.upi_master);
    values.upiBuild = textFrom(given.upi_build);
    values.featureName = textFrom(given.feature_name);
    values.featureVersion = textFrom(given.feature_version);
    values.oauth2ConsumerKey.set(textFrom(given.oauth2_consumer_key));
    values.oauth2ConsumerSecret.set(textFrom(given.oauth2_consumer_secret));
    values.oauth2AccessTokenScope = textFrom(given.oauth2_scope);
    return made;
}

Util::SecretBytes configurationText(const WebServicesConfigurationImp& values, int32_t which) {
    switch (which) {
    case VQWS_CONFIG_CONSUMER_KEY: return values.consumerKey.reveal();
    case VQWS_CONFIG_CONSUMER_SECRET: return values.consumerSecret.reveal();
    case VQWS_CONFIG_SERIAL_NUMBER: return outText(values.serialNumber);
    case VQWS_CONFIG_PRODUCT_LINE_CODE: return outText(values.productLineCode);
    case VQWS_CONFIG_UPI_RELEASE: return outText(values.upiRelease);
    case VQWS_CONFIG_UPI_MASTER: return outText(values.upiMaster);
    case VQWS_CONFIG_UPI_BUILD: return outText(values.upiBuild);
    case VQWS_CONFIG_FEATURE_NAME: return outText(values.featureName);
    case VQWS_CONFIG_FEATURE_VERSION: return outText(values.featureVersion);
    case VQWS_CONFIG_OAUTH2_CONSUMER_KEY: return values.oauth2ConsumerKey.reveal();
    case VQWS_CONFIG_OAUTH2_CONSUMER_SECRET: return values.oauth2ConsumerSecret.reveal();
    case VQWS_CONFIG_OAUTH2_SCOPE: return outText(values.oauth2AccessTokenScope);
    default: throw Refused{VQWS_ARGUMENT};
    }
}

} // namespace

uint32_t vqws_version() noexcept {
    return VQWS_VERSION;
}

int32_t vqws_library_version(char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [] { return outText(libraryVersion()); });
}

int32_t vqws_last_error(vqws_error* error, char* buf, size_t cap, size_t* len) noexcept {
    return CCall::ask([&] { return CCall::tellLast(error, {buf, cap, len}); });
}

int32_t vqws_take_text(char* buf, size_t cap, size_t* len) noexcept {
    return CCall::ask([&] { return CCall::takeKept({buf, cap, len}); });
}

int32_t vqws_set_support_paths(const char* paths, size_t paths_len) noexcept {
    return act([&] {
        WebServicesManager::SetSupportFileSearchPaths(wideText(textFrom(paths, paths_len)).c_str());
        return CCall::failure(VQWS_OK) == VQWS_OK;
    });
}

int32_t vqws_get_support_paths(char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed,
                    [] { return facadeText(&WebServicesManager::GetSupportFileSearchPaths); });
}

int32_t vqws_set_default_plugin_paths() noexcept {
    return act([] { return WebServicesManager::SetDefaultPluginSearchPaths(), true; });
}

int32_t vqws_add_plugin_path(const char* path, size_t path_len) noexcept {
    return act([&] {
        const QString folder = textFrom(path, path_len);
        require(!folder.isEmpty());
        WebServicesManager::AddPluginSearchPath(wideText(folder).c_str());
        return true;
    });
}

int32_t vqws_set_config(const char* key, size_t key_len, const vqws_config* config) noexcept {
    return act([&] {
        const CClient client(key, key_len);
        const WebServicesConfiguration made = configurationFrom(readStruct(config));
        return client.isOwn ? plain().SetConfiguration(made) : keyed().SetConfiguration(client.key, made);
    });
}

int32_t vqws_get_config_text(const char* key, size_t key_len, int32_t which, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [&] {
        const CClient client(key, key_len);
        require(which >= VQWS_CONFIG_CONSUMER_KEY && which <= VQWS_CONFIG_OAUTH2_SCOPE);
        return configurationText(WebServicesConfigurationImp::of(keyed().GetConfiguration(client.key)), which);
    });
}

int32_t vqws_set_server(const char* key, size_t key_len, int32_t server) noexcept {
    return act([&] { return keyed().SetServer(CClient(key, key_len).key, static_cast<Server>(server)); });
}

int32_t vqws_get_server(int32_t* server) noexcept {
    return tell(server, [] { return plain().GetServer(); });
}

int32_t vqws_get_url(int32_t code, char* buf, size_t cap, size_t* len) noexcept {
    const auto read = [&](wchar_t* text, int size) { return plain().GetUrl(static_cast<WebServicesUrlCode>(code), text, size); };
    return tellText(
        {buf, cap, len}, Emptiness::IsFailure, [&] { return facadeText(read); }, VQWS_NOT_FOUND);
}

int32_t vqws_get_cache_path(const char* key, size_t key_len, char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [&] {
        return facadeText(CClient(key, key_len), &WebServicesManager::GetCachePath, &WebServicesManagerEx::GetCachePath);
    });
}

int32_t vqws_get_login_state_file(char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [] { return outText(RuntimePaths::loginStateFile()); });
}

int32_t vqws_get_log_file(char* buf, size_t cap, size_t* len) noexcept {
    return tellText({buf, cap, len}, Emptiness::Allowed, [] { return outText(WebServicesPrivate::GetLogFile()); });
}

int32_t vqws_is_sso_for_all_users(int32_t* yes) noexcept {
    return tell(yes, [] { return plain().IsSSOEnabledForAllUsers(); });
}

int32_t vqws_is_log_enabled(int32_t* yes) noexcept {
    return tell(yes, [] { return plain().IsLogEnabled(); });
}
