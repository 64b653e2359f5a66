#pragma once

#include "AccountState.h"

#include <QLabel>
#include <QPushButton>
#include <QWidget>

/// One token: whether it exists, and the time until it expires and until it is renewed, updated each second.
///
/// Thread: the main thread. Owner: the tokens panel.
class TokenView : public QWidget {
    Q_OBJECT

public:
    /// `name` prefixes the names of the parts.
    TokenView(const QString& name, const QString& title, const QString& renewText, QWidget* parent = nullptr);

    void showToken(const TokenFacts& token, bool isSignedIn);
    void setIdle(bool isIdle);
    /// Shows the present remaining times.
    void tick();

signals:
    void renewWanted();

private:
    void arrange();
    void updateButton();
    void showTimes(qint64 left);
    void showNone();

    const QString m_title;
    TokenFacts m_token;
    bool m_isSignedIn = false;
    bool m_isIdle = true;
    QLabel* m_expires;
    QLabel* m_expiresText;
    QLabel* m_renewal;
    QLabel* m_renewalText;
    QPushButton* m_renew;
};
