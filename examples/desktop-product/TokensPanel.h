#pragma once

#include "AccountState.h"
#include "Card.h"
#include "TokenView.h"

#include <QTimer>

/// The two tokens that the library renews for this product.
///
/// Thread: the main thread. Owner: the main window.
class TokensPanel : public Card {
    Q_OBJECT

public:
    explicit TokensPanel(QWidget* parent = nullptr);

    void showState(const AccountState& state);
    void showActivity(Activity activity);

signals:
    void renewAccessTokenWanted();
    void renewOAuth2TokenWanted();

private:
    void tick();

    TokenView* m_access;
    TokenView* m_oauth2;
    QTimer m_timer;
};
