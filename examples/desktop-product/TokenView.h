#pragma once

#include "AccountState.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

/// One token: whether there is one, and how long until it expires and until it is renewed, counted down each second.
///
/// Thread: the main thread. Owner: the tokens panel.
class TokenView : public QWidget {
    Q_OBJECT

public:
    /// `name` prefixes the names of the parts.
    TokenView(const QString& name, const QString& title, const QString& renewText, QWidget* parent = nullptr);

    void showToken(const TokenFacts& token, bool isSignedIn);
    void setIdle(bool isIdle);
    /// Shows the spans as they are now.
    void tick();

signals:
    void renewWanted();

private:
    void arrange(const QString& title);
    void updateButton();
    void showNone();

    TokenFacts m_token;
    bool m_isSignedIn = false;
    bool m_isIdle = true;
    QLabel* m_expires;
    QLabel* m_expiresText;
    QLabel* m_renewal;
    QLabel* m_renewalText;
    QPushButton* m_renew;
};
