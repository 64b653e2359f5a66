#pragma once

#include <QStringList>
#include <VqWebServices/IWebServicesObserver.h>
#include <functional>

namespace Velquor::TestKit {

/// Records the events that every observer interface has, in their order, and runs the test's reaction to each of them.
/// Thread: main. Owner: the test.
template <typename Interface = WebServices::IWebServicesObserver>
class RecordingObserver : public Interface {
public:
    void LoggedIn() override { record("LoggedIn"); }
    void LoginRestored() override { record("LoginRestored"); }
    void LoggedOut() override { record("LoggedOut"); }
    void AboutToLogout(bool& veto) override {
        veto = vetoes;
        record("AboutToLogout");
    }
    void ServerChanged(const wchar_t* key) override { record("ServerChanged", key); }

    void record(const char* event, const wchar_t* key = nullptr) {
        heard += key ? QLatin1String(event) + (':' + QString::fromWCharArray(key)) : QString(event);
        // A copy, since the reaction may destroy this object.
        const std::function<void()> own = reaction;
        if (own)
            own();
    }

    [[nodiscard]] int count(const char* event) const { return heard.count(event); }

    QStringList heard; ///< An event that names a product ends with ":" and its key.
    bool vetoes = false;
    std::function<void()> reaction;
};

} // namespace Velquor::TestKit
