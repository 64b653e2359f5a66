#pragma once

#include <QMutex>
#include <QVector>
#include <VqWebServices/IWebServicesObserver.h>

namespace Velquor::WebServices::Internal {

/// The observers of this process, in the order of their registration.
///
/// Thread: any. Owner: the login session. Observers are not owned; null and a second registration are ignored.
class ObserverRegistry {
public:
    void add(IWebServicesObserver* observer);
    void remove(IWebServicesObserver* observer);

    /// A copy to iterate over while observers are added and removed.
    [[nodiscard]] QVector<IWebServicesObserver*> snapshot() const;
    /// Whether an observer of a snapshot is still registered and may be called.
    [[nodiscard]] bool contains(IWebServicesObserver* observer) const;

private:
    mutable QMutex m_mutex;
    QVector<IWebServicesObserver*> m_observers;
};

} // namespace Velquor::WebServices::Internal
