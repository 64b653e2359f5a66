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
#include <utility>

/// The product behind the window. It is the only class that uses the library, and it notifies the window by signals.
///
/// Thread: the main thread. It initializes and uninitializes the library there, which is quick. Every other call runs on a
/// worker: one for actions, one that reads the state, and one that waits for the replies of the web services about the user.
/// Owner: main(). Errors: `failed`.
class Product : public QObject {
    Q_OBJECT

public:
    struct Options {
        ProductCalls::Keys keys;
        QString supportFolder;
    };

    explicit Product(Options options);
    /// Ends the current action and the library at once.
    ~Product() override;

    void start();
    void signIn();
    /// Call it when the browser shows that the user is signed in there.
    void completeSignIn();
    void signOut();
    /// Begins the action that was vetoed again.
    void repeat();
    void renewAccessToken();
    void renewOAuth2Token();
    void switchServer(Velquor::WebServices::Server server);
    void storeProxy(const ProxySettings& proxy);
    void clearProxy();
    /// Cancels the current action. A call that waits is ended by uninitializing the library, which is then initialized again.
    void cancel();
    /// Queries the web services about the user again.
    void refresh();

    /// Set it before the start. While it returns true, no sign-out of this window's user happens.
    void setHasUnsavedWork(std::function<bool()> hasUnsavedWork) { m_hasUnsavedWork = std::move(hasUnsavedWork); }

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
    /// The sign-out, or the change of server, did not happen, since there is unsaved work.
    void vetoed();
    /// The sign-in is over, and not by an action in this window. Precedes `stateChanged`.
    void signInEnded(SignInEnd end);

private:
    bool beginLibrary();
    void endLibrary();
    [[nodiscard]] bool vetoes();
    void noteEnd(const AccountState& state);
    void act(Activity activity, const std::function<Outcome()>& call);
    void finish(const Outcome& outcome);
    void tellFailure(Activity done, const Failure& failure);
    void setActivity(Activity activity);
    void look();
    void takeState(const AccountState& state);
    void readDetails();
    void takeDetails(const AccountDetails& details);
    void onEvent(const QString& event, const QString& consumerKey);

    const Options m_options;
    std::function<bool()> m_hasUnsavedWork;
    std::function<Outcome()> m_lastCall;
    Activity m_lastActivity = Activity::Idle;
    bool m_isVetoed = false;
    SignInEnd m_end = SignInEnd::ByOtherProduct;
    EventObserver m_observer;
    Activity m_activity = Activity::Idle;
    AccountState m_state;
    AccountDetails m_details;
    bool m_isReadingDetails = false;
    // Incremented when results that are still to arrive must be ignored.
    int m_actionRound = 0;
    int m_signInRound = 0;
    int m_lookRound = 0;
    QTimer m_lookTimer;
    QTimer m_detailsTimer;
    Worker m_actions;
    Worker m_looks;
    Worker m_reads;
};
