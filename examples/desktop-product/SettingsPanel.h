#pragma once

#include "AccountState.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QWidget>

class Card;

/// The current server and the proxy of this user.
///
/// Thread: the main thread. Owner: the main window.
class SettingsPanel : public QWidget {
    Q_OBJECT

public:
    explicit SettingsPanel(QWidget* parent = nullptr);

    void showState(const AccountState& state);
    void showActivity(Activity activity);

signals:
    void switchServerWanted(Velquor::WebServices::Server server);
    void storeProxyWanted(const ProxySettings& proxy);
    void clearProxyWanted();

private:
    Card* makeServerCard();
    Card* makeProxyCard();
    void storeProxy();
    void updateButtons();
    [[nodiscard]] Velquor::WebServices::Server chosenServer() const;

    Velquor::WebServices::Server m_server = Velquor::WebServices::NoServer;
    bool m_isSignedIn = false;
    bool m_hasProxy = false;
    bool m_isIdle = true;
    QComboBox* m_servers;
    QPushButton* m_switch;
    QLabel* m_serverHint;
    QLineEdit* m_host;
    QSpinBox* m_port;
    QLineEdit* m_user;
    QLineEdit* m_password;
    QPushButton* m_store;
    QPushButton* m_clear;
    QLabel* m_proxyHint;
};
