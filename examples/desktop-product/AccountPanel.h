#pragma once

#include "AccountState.h"
#include "Avatar.h"
#include "Card.h"

#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>

/// The signed-in user: name, mail, storage in use, and the services that the user may use.
///
/// Thread: the main thread. Owner: the main window.
class AccountPanel : public Card {
    Q_OBJECT

public:
    explicit AccountPanel(QWidget* parent = nullptr);

    void showState(const AccountState& state);
    void showDetails(const AccountDetails& details, bool isReading);

signals:
    void refreshWanted();

private:
    QLayout* arrangePerson();
    void arrangeQuota();
    void arrangeServices();
    void showName();
    void showQuota();
    void showServices();
    [[nodiscard]] QString missingText() const;

    AccountState m_state;
    AccountDetails m_details;
    bool m_isReading = false;
    Avatar* m_avatar;
    QLabel* m_name;
    QLabel* m_mail;
    QLabel* m_expiry;
    QProgressBar* m_quota;
    QLabel* m_quotaText;
    QListWidget* m_services;
    QPushButton* m_refresh;
};
