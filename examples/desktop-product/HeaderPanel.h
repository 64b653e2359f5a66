#pragma once

#include "AccountState.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

/// The top of the window: the product, the signed-in user, the server, and the buttons to sign in and out.
///
/// Thread: the main thread. Owner: the main window.
class HeaderPanel : public QWidget {
    Q_OBJECT

public:
    explicit HeaderPanel(const QString& productName, QWidget* parent = nullptr);

    void showState(const AccountState& state);
    void showActivity(Activity activity);

    /// The button that is visible now: sign in or sign out.
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
