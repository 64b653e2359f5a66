#pragma once

#include <QNetworkReply>

namespace Velquor::TestKit {

/// A finished reply with whatever a test wants in it. Thread: that of the test.
class FakeReply final : public QNetworkReply {
public:
    explicit FakeReply(const QNetworkRequest& request = QNetworkRequest(QUrl("https://service.test/a"))) {
        setRequest(request);
        setUrl(request.url());
        setFinished(true);
        open(QIODevice::ReadOnly);
    }

    FakeReply& withStatus(int status) {
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, status);
        return *this;
    }
    FakeReply& withError(int error, const QString& text) {
        setError(static_cast<NetworkError>(error), text);
        return *this;
    }
    FakeReply& withHeader(const QByteArray& name, const QByteArray& value) {
        setRawHeader(name, value);
        return *this;
    }
    FakeReply& withAttribute(QNetworkRequest::Attribute attribute, const QVariant& value) {
        setAttribute(attribute, value);
        return *this;
    }
    FakeReply& withOperation(QNetworkAccessManager::Operation operation) {
        setOperation(operation);
        return *this;
    }

    void abort() override {}

protected:
    qint64 readData(char*, qint64) override { return -1; }
};

} // namespace Velquor::TestKit
