#pragma once

#include "Session/Core/SessionState.h"

#include <QTemporaryDir>
#include <QVector>
#include <memory>

namespace Velquor::Bench {

/// A process of a signed-in user, with a login state file of its own. Thread: main. Owner: a benchmark.
class LoginProcess {
public:
    /// The file holds `stored` products, of which the process has configured the first `own`.
    LoginProcess(int stored, int own);
    ~LoginProcess();
    LoginProcess(const LoginProcess&) = delete;
    LoginProcess& operator=(const LoginProcess&) = delete;

    /// A save after each product of this process has got a new date.
    [[nodiscard]] bool save();
    /// The least that any safe save of the same file must do: parse it, change it, write another file, flush that and move it.
    [[nodiscard]] bool saveAtLeast();
    /// A new process reads the file.
    [[nodiscard]] bool restore();
    /// The least that any reader of the same file must do: read and parse it.
    [[nodiscard]] bool restoreAtLeast();

    [[nodiscard]] int productCount() const;

private:
    class Events;

    [[nodiscard]] WebServices::Internal::SessionDependencies services() const;
    [[nodiscard]] bool store();
    void configure(int count);

    const std::unique_ptr<QTemporaryDir> m_folder;
    const std::unique_ptr<Events> m_events;
    const WebServices::Internal::SessionDependencies m_services;
    std::unique_ptr<WebServices::Internal::SessionState> m_state;
    QVector<WebServices::Internal::ProductSessionPointer> m_own;
    int m_number = 0;
};

} // namespace Velquor::Bench
