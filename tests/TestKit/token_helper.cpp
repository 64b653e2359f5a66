// A product in a process of its own, for tests of many processes. Arguments: the folder of the login state file, the folder of
// the user's key, the folder of the URL files, the certificate authority, the consumer key and its secret.
//
// Commands, one a line: "ask THREADS OFFSET" lets so many threads ask for the access token at once while the clock is OFFSET
// seconds ahead; "ask-oauth2 THREADS OFFSET TYPE SCOPE" the same for an OAuth2 token; "refresh" starts a refresh and does not
// wait; "status"; "logout"; "quit".

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/HelperProgram.h"
#include "TestKit/SessionFixture.h"
#include "TestKit/Stopwatch.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <VqWebServices/IWebServicesObserver2.h>
#include <functional>
#include <iostream>
#include <thread>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

// Each event is an answer of its own: {"event": NAME, "main": whether it came on the main thread}.
class Helper : public QObject, public IWebServicesObserver2 {
public:
    explicit Helper(const QStringList& arguments)
        : m_fixture(arguments.at(1), arguments.at(2))
        , m_key(arguments.at(5)) {
        SupportFiles::setSearchPaths(arguments.at(3));
        TestKit::AccountServiceProcess::trust(arguments.at(4));
        m_fixture.notifiesProcesses = true;
        m_session = m_fixture.makeSession(m_key, arguments.at(6));
        m_session->SetConfiguration(m_key, TestKit::SessionFixture::oauth2Configuration(m_key, arguments.at(6)));
        m_session->observers().add(this);
        m_session->RestoreLogin(m_key, false);
    }

    void LoggedIn() override { tell("LoggedIn"); }
    void LoggedOut() override { tell("LoggedOut"); }
    void TokenRefreshed(const wchar_t*) override { tell("TokenRefreshed"); }

    void execute(const QStringList& words) {
        const QString command = words.value(0);
        if (command == QLatin1String("ask"))
            return ask(words.value(1).toInt(), words.value(2).toLongLong(), [this] { return accessToken(); });
        if (command == QLatin1String("ask-oauth2")) {
            const OAuth2TokenSpec spec(words.value(3) == QLatin1String("JWT") ? JWT : RT, words.value(4).toStdWString().c_str());
            m_session->oauth2().EnableOAuth2(m_key, spec);
            return ask(words.value(1).toInt(), words.value(2).toLongLong(), [this, spec] { return oauth2Token(spec); });
        }
        QJsonObject answer;
        if (command == QLatin1String("refresh"))
            answer = {{"started", m_session->RefreshToken(m_key, false)}};
        else if (command == QLatin1String("logout"))
            answer = {{"done", logout()}};
        else if (command == QLatin1String("status"))
            answer = {{"loggedIn", m_session->isLoggedIn(m_key)}, {"user", m_session->basicState().userName}};
        else
            QCoreApplication::quit();
        print(answer);
    }

private:
    void tell(const char* event) { print({{"event", event}, {"main", QThread::currentThread() == thread()}}); }

    void ask(int threadCount, qint64 offset, const std::function<QString()>& question) {
        m_fixture.clockOffset = offset;
        m_left = threadCount;
        m_tokens = {};
        m_longest = 0;
        for (int thread = 0; thread < threadCount; ++thread)
            m_threads.emplace_back([this, question] { askOnce(question); });
    }

    void askOnce(const std::function<QString()>& question) {
        const TestKit::Stopwatch timer;
        const QString text = question();
        const qint64 elapsed = timer.elapsed();
        QMetaObject::invokeMethod(
            this, [this, text, elapsed] { took(text, elapsed); }, Qt::QueuedConnection);
    }

    QString accessToken() {
        Util::SecretBytes token;
        Util::SecretBytes secret;
        return m_session->GetAccessToken(m_key, true, token, secret) ? token.toText() : QString();
    }

    QString oauth2Token(const OAuth2TokenSpec& spec) {
        return QString::fromWCharArray(m_session->oauth2().GetOAuth2AccessToken(m_key, &spec, true).GetToken());
    }

    void took(const QString& token, qint64 elapsed) {
        m_tokens.append(token);
        m_longest = qMax(m_longest, elapsed);
        if (--m_left > 0)
            return;
        for (std::thread& thread : m_threads)
            thread.join();
        m_threads.clear();
        print({{"tokens", m_tokens}, {"longest", m_longest}});
    }

    bool logout() {
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        return m_session->Logout(m_key, error, true);
    }

    static void print(const QJsonObject& answer) { TestKit::say(QJsonDocument(answer).toJson(QJsonDocument::Compact)); }

    TestKit::SessionFixture m_fixture;
    const QString m_key;
    TestKit::SessionUnderTest m_session;
    std::vector<std::thread> m_threads;
    QJsonArray m_tokens;
    qint64 m_longest = 0;
    int m_left = 0;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 7)
        return 2;
    Helper helper(arguments);
    std::thread reader([&helper] {
        std::string line;
        while (std::getline(std::cin, line)) {
            const QStringList words = QString::fromStdString(line).trimmed().split(QLatin1Char(' '));
            QMetaObject::invokeMethod(
                &helper, [&helper, words] { helper.execute(words); }, Qt::QueuedConnection);
        }
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    TestKit::say("{\"ready\": true}");
    application.exec();
    // The reader thread ends with the input, which the parent closes. "quit" does not wait for that.
    reader.detach();
    return 0;
}
