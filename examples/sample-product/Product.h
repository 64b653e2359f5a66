#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <VqWebServices/WebServicesManager.h>
#include <vector>

/// A product that uses the library like any other, and reports the results.
///
/// Thread: the main thread. Owner: main(). Every command answers with one object: {"command": ..., "ok": ..., ...}.
class Product : public QObject, public Velquor::WebServices::IWebServicesObserver {
    Q_OBJECT

public:
    struct Options {
        QString consumerKey;
        QString consumerSecret;
        QString supportFolder;
    };

    explicit Product(const Options& options);
    ~Product() override;

    /// Initializes the library, sets the configuration and restores the login. False when the library refuses.
    bool start();
    /// Runs a command, after those that are still running.
    void enqueue(const QString& line);

    void LoggedIn() override;
    void LoginRestored() override;
    void AboutToLogout(bool& veto) override;
    void LoggedOut() override;

signals:
    void finished();

private:
    using Arguments = QStringList;
    void execute(const QString& line);
    QJsonObject run(const QString& command, const Arguments& arguments);
    QJsonObject status();
    QJsonObject initiateLogin();
    QJsonObject completeLogin(const Arguments& arguments);
    QJsonObject get(const Arguments& arguments);
    QJsonObject post(const Arguments& arguments);
    QJsonObject signUrl(const Arguments& arguments);
    QJsonObject initiateLogout();
    void print(const QJsonObject& object);

    const Options m_options;
    Velquor::WebServices::WebServicesManager* m_manager = nullptr;
    QStringList m_lines;
    bool m_vetoes = false;
};

/// Sends a request with an "Authorization" header and waits for the reply, at most 20 seconds.
/// An empty body sends a GET, otherwise a form is posted. Returns {"status": ..., "body": ...}.
QJsonObject sendSigned(const QString& url, const QString& authorization, const QByteArray& form);
