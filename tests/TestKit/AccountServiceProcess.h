#pragma once

#include "TestKit/Platform/OutsideProgram.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QTemporaryDir>

namespace Velquor::TestKit {

/// The account service for development as the other side of a test: started on a free loopback port, steered, asked what it saw.
///
/// Thread: the test's. Owner: the test. `start` fails the way of a bool; the other operations give empty values.
class AccountServiceProcess {
public:
    /// Starts the service and makes Qt trust its certificate authority.
    bool start(const QStringList& options = {});

    /// The folder of its URL configuration files.
    [[nodiscard]] QString folder() const { return m_folder.path(); }
    [[nodiscard]] QString url() const { return m_info.value("url").toString(); }
    [[nodiscard]] QString authorityFile() const { return m_info.value("ca_file").toString(); }

    /// Makes Qt in this process trust the authority in the file.
    static void trust(const QString& authorityFile);

    /// One call of the control interface; without a body a GET.
    QJsonObject control(const QString& path, const QJsonValue& body = QJsonValue::Undefined);

    /// Signs in on the page of the URL, as a user in a browser would.
    bool approve(const QString& signInUrl, const QString& user = QStringLiteral("ada"));

    /// Makes the next `count` requests of an endpoint fail in a way ("drop", "html", "status"...; see its README).
    bool addFault(const QString& endpoint, const QString& kind, QJsonObject details = {}, int count = 1);
    bool reset();

    /// The user whom the service finds in a signed request.
    [[nodiscard]] QString userWhoAsks(const QByteArray& url, const QByteArray& authorization) const;

    /// The number of requests to an endpoint since the start, whatever became of them.
    [[nodiscard]] int requests(const QString& endpoint);

private:
    QTemporaryDir m_folder;
    OutsideProgram m_program;
    QJsonObject m_info;
    QByteArray m_token;
};

} // namespace Velquor::TestKit
