#pragma once

#include <VqWebServices/IWebServicesManager.h>
#include <VqWebServices/WebServicesManager.h>

namespace Velquor::WebServices::Internal {

/// Forwards the operations of `IWebServicesManager` to the facade. Thread: any. Owner: the singleton.
class WebServicesManagerRuntime : public IWebServicesManager {
public:
    explicit WebServicesManagerRuntime(WebServicesManager& manager)
        : m_manager(manager) {}

    int GetUserName(wchar_t* buffer, int size) override { return m_manager.GetUserName(buffer, size); }
    unsigned int GetLoginExpiryDate() override { return m_manager.GetLoginExpiryDate(); }

private:
    WebServicesManager& m_manager;
};

} // namespace Velquor::WebServices::Internal
