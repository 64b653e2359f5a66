#pragma once

#include <QNetworkAccessManager>
#include <QObject>
#include <QUrl>
#include <VqWebServices/WebServicesManager.h>

/// A product with Qt's event loop: it signs in when nobody is, and fetches a page with a signed request as soon as somebody is.
class Product : public QObject, public Velquor::WebServices::IWebServicesObserver {
    Q_OBJECT

public:
    explicit Product(const QUrl& page);
    ~Product() override;

    /// False when the library cannot be used or the sign-in cannot begin.
    bool start();

    // On the main thread, whichever process of the user caused it.
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
