#pragma once

#include "AccountState.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

/// The top of the window: which product this is, who is signed in on which server, and the way in and out.
///
/// Thread: the main thread. Owner: the main window.
class HeaderPanel : public QWidget {
    Q_OBJECT

public:
    explicit HeaderPanel(const QString& productName, QWidget* parent = nullptr);

    void showState(const AccountState& state);
    void showActivity(Activity activity);

    /// The button to sign in or to sign out, whichever is there now.
    [[nodiscard]] QWidget* wayInOrOut() const { return m_isSignedIn ? m_signOut : m_signIn; }

signals:
    void signInWanted();
    void signOutWanted();

private:
    void updateButtons();

    QLabel* m_status;
    QPushButton* m_signIn;
    QPushButton* m_signOut;
    bool m_isSignedIn = false;
    bool m_isIdle = true;
};
