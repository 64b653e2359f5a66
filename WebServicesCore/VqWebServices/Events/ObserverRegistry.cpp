#include "Events/ObserverRegistry.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

void ObserverRegistry::add(IWebServicesObserver* observer) {
    const QMutexLocker lock(&m_mutex);
    if (observer && !m_observers.contains(observer))
        m_observers.append(observer);
}

void ObserverRegistry::remove(IWebServicesObserver* observer) {
    const QMutexLocker lock(&m_mutex);
    m_observers.removeAll(observer);
}

QVector<IWebServicesObserver*> ObserverRegistry::snapshot() const {
    const QMutexLocker lock(&m_mutex);
    return m_observers;
}

bool ObserverRegistry::contains(IWebServicesObserver* observer) const {
    const QMutexLocker lock(&m_mutex);
    return m_observers.contains(observer);
}

} // namespace Velquor::WebServices::Internal
