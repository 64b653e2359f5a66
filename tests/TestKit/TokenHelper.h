#pragma once

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

namespace Velquor::TestKit {

/// A run of the program "token_helper", a product in a process of its own that is told line by line what to do and answers
/// with one JSON object for each line. Ends with this object at the latest. Thread: the test's. Owner: the test.
class TokenHelper : public QProcess {
public:
    explicit TokenHelper(const QStringList& arguments) {
        setProcessChannelMode(ForwardedErrorChannel);
        start(QCoreApplication::applicationDirPath() + QStringLiteral("/token_helper"), arguments);
    }

    ~TokenHelper() override {
        kill();
        waitForFinished(10000);
    }

    void tell(const QString& line) { write(line.toUtf8() + '\n'); }

    /// The next answer; empty when none comes within the time.
    [[nodiscard]] QJsonObject answer(int timeoutMs = 20000) {
        while (!canReadLine()) {
            if (!waitForReadyRead(timeoutMs))
                return {};
        }
        return QJsonDocument::fromJson(readLine()).object();
    }
};

} // namespace Velquor::TestKit
