#pragma once

#include "ClientKeys.h"
#include "Contract/ContractReport.h"
#include "Contract/ContractServer.h"

namespace Vqws {

/// The half of the contract test that needs no change at the server: documents, OAuth2 tokens and time.
///
/// Thread: the main thread. Owner: ContractCheck. Errors: in the report.
class DataCheck {
public:
    DataCheck(ContractServer& server, ContractReport& report, const ClientKeys& keys);

    void documents(const OAuthKeys& token);
    void oauth2(const OAuthKeys& token);
    void times();

    /// After the sign-out.
    void tokenOfEndedSession(const OAuthKeys& token);

    /// A result by the status of a refusal: 401 stands for all of 4xx but 400, as the library takes it.
    bool expectRefusal(const char* name, const HttpReply& reply, int status);

private:
    struct Document {
        const char* name;
        const char* service;
        const char* endPoint;
        const char* query;
        bool (*isWhole)(const QByteArray& body);
    };

    [[nodiscard]] QUrl address(const Document& document) const;
    void check(const Document& document, const OAuthKeys& token);
    void checkUnchanged(const QUrl& url, const HttpReply& first, const OAuthKeys& token);
    [[nodiscard]] HttpReply askOAuth2(const OAuthKeys& token, const QString& secret, const QByteArray& type);
    void expectOAuth2(const char* name, const HttpReply& reply);

    ContractServer& m_server;
    ContractReport& m_report;
    const ClientKeys& m_keys;
    QUrl m_document; ///< One that the server has sent.
};

} // namespace Vqws
