#pragma once

#include <QNetworkAccessManager>
#include <QObject>
#include <QUrl>
#include <VqWebServices/WebServicesManager.h>

/// A product with Qt's event loop. It signs the user in if needed, and fetches a page with a signed request once the user is
/// signed in.
class Product : public QObject, public Velquor::WebServices::IWebServicesObserver {
    Q_OBJECT

public:
    explicit Product(const QUrl& page);
    ~Product() override;

    /// False when the library cannot be used or the sign-in cannot begin.
    bool start();

    // Called on the main thread, also when another process of the user caused the event.
    void LoggedIn() override;
    void LoggedOut() override;

private:
    bool signIn();
    void completeSignIn();
    void fetch();
    void show(QNetworkReply* reply);

    const QUrl m_page;
    QNetworkAccessManager m_network;
    Velquor::WebServices::WebServicesManager& m_services;
};
