#pragma once

#include "AccountState.h"
#include "EventObserver.h"
#include "EventOrigin.h"
#include "ProductCalls.h"
#include "Worker.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

/// The product behind the window: owns the use of the library, is the only one that calls it, and tells the window in signals.
///
/// Thread: the main thread. The library is begun and ended there, which is quick; every other call runs on a worker: one that
/// acts, one that looks, and one that waits for what the web services say of the user. Owner: main(). Errors: `failed`.
class Product : public QObject {
    Q_OBJECT

public:
    struct Options {
        ProductCalls::Keys keys;
        QString supportFolder;
    };

    explicit Product(Options options);
    /// Ends what is under way at once, and the library.
    ~Product() override;

    void start();
    void signIn();
    /// To be called when the browser says that the user is signed in there.
    void completeSignIn();
    void signOut();
    void renewAccessToken();
    void renewOAuth2Token();
    void switchServer(Velquor::WebServices::Server server);
    void storeProxy(const ProxySettings& proxy);
    void clearProxy();
    /// Gives up what is under way. A call that waits is ended by ending the library, which is begun anew.
    void cancel();
    /// Asks the web services anew for what they say of the user.
    void refresh();

    [[nodiscard]] Activity activity() const { return m_activity; }
    [[nodiscard]] static QString logFile();

signals:
    void stateChanged(const AccountState& state);
    void detailsChanged(const AccountDetails& details, bool isReading);
    void activityChanged(Activity activity);
    void pageReady(const QString& url);
    void eventHappened(const QString& event, const QString& consumerKey, EventOrigin origin);
    void succeeded();
    void failed(const Failure& failure);

private:
    bool beginLibrary();
    void endLibrary();
    void act(Activity activity, const std::function<Outcome()>& call);
    void finish(const Outcome& outcome);
    void setActivity(Activity activity);
    void look();
    void takeState(const AccountState& state);
    void readDetails();
    void takeDetails(const AccountDetails& details);
    void onEvent(const QString& event, const QString& consumerKey);

    const Options m_options;
    EventObserver m_observer;
    Activity m_activity = Activity::Idle;
    AccountState m_state;
    AccountDetails m_details;
    bool m_isReadingDetails = false;
    // Counted up when the answers that are under way are no longer wanted.
    int m_actionRound = 0;
    int m_signInRound = 0;
    int m_lookRound = 0;
    QTimer m_lookTimer;
    QTimer m_detailsTimer;
    Worker m_actions;
    Worker m_looks;
    Worker m_reads;
};
