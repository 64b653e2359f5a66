#include "Network/KeptManager.h"

#include "Network/NetworkAccessManager.h"

#include <utility>

namespace Velquor::WebServices::Internal {

KeptManager::KeptManager()
    : m_idle(this) {
    m_idle.setSingleShot(true);
    connect(&m_idle, &QTimer::timeout, this, &KeptManager::IdleTooLong);
}

KeptManager::~KeptManager() = default;

std::unique_ptr<NetworkAccessManager> KeptManager::take() {
    m_idle.stop();
    return std::move(m_manager);
}

void KeptManager::put(std::unique_ptr<NetworkAccessManager> manager) {
    m_manager = std::move(manager);
}

void KeptManager::destroy() {
    m_idle.stop();
    m_manager.reset();
}

} // namespace Velquor::WebServices::Internal
