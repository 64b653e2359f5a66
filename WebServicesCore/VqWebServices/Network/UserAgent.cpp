#include "Network/UserAgent.h"

#include <QMutex>
#include <QMutexLocker>

namespace Velquor::WebServices::Internal {
namespace {

struct SharedText {
    QMutex mutex;
    QString text;
};

SharedText& shared() {
    // Never destroyed: a request may be sent while the process ends.
    static auto* const instance = new SharedText;
    return *instance;
}

} // namespace

QString userAgent() {
    SharedText& agent = shared();
    const QMutexLocker lock(&agent.mutex);
    return agent.text;
}

void setUserAgent(const QString& text) {
    QString clean;
    for (const QChar c : text) {
        if (c.category() != QChar::Other_Control)
            clean.append(c);
    }
    SharedText& agent = shared();
    const QMutexLocker lock(&agent.mutex);
    agent.text = clean;
}

} // namespace Velquor::WebServices::Internal
