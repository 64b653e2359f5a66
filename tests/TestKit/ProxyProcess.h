#pragma once

#include "TestKit/Platform/OutsideProgram.h"

#include <QNetworkProxy>
#include <QString>
#include <QTemporaryDir>
#include <memory>

namespace Velquor::TestKit {

/// A real proxy (tinyproxy) that asks for credentials, on a free loopback port. Thread: the test's. Owner: the test, whose end
/// ends it.
class ProxyProcess {
public:
    static QString user() { return QStringLiteral("proxy-user"); }
    static QString password() { return QStringLiteral("open-sesame-4711"); }

    bool start();

    [[nodiscard]] static QString host() { return QStringLiteral("127.0.0.1"); }
    [[nodiscard]] quint16 port() const { return m_port; }

    /// As an application proxy of the framework.
    [[nodiscard]] QNetworkProxy proxy(const QString& asUser = {}, const QString& withPassword = {}) const {
        return {QNetworkProxy::HttpProxy, host(), m_port, asUser, withPassword};
    }

    /// How many requests have come so far, with good credentials or without.
    [[nodiscard]] int requests() const { return logged("Request (file descriptor"); }
    /// How many tunnels it has opened so far.
    [[nodiscard]] int tunnels() const { return logged("Established connection to host"); }

private:
    [[nodiscard]] bool startOn(quint16 port);
    [[nodiscard]] int logged(const QByteArray& text) const;

    QTemporaryDir m_folder;
    std::unique_ptr<OutsideProgram> m_program;
    quint16 m_port = 0;
};

} // namespace Velquor::TestKit
