#include "SettingsPanel.h"

#include "Card.h"
#include "Look.h"

#include <QFormLayout>
#include <QHBoxLayout>

using namespace Velquor::WebServices;

SettingsPanel::SettingsPanel(QWidget* parent)
    : QWidget(parent)
    , m_servers(new QComboBox)
    , m_switch(Look::button(QStringLiteral("switchServerButton"), tr("S&witch"), tr("Change to the chosen server")))
    , m_serverHint(Look::quietLabel(QStringLiteral("serverHint")))
    , m_host(new QLineEdit)
    , m_port(new QSpinBox)
    , m_user(new QLineEdit)
    , m_password(new QLineEdit)
    , m_store(Look::button(QStringLiteral("storeProxyButton"), tr("S&tore"), tr("Use this proxy and keep it for all products")))
    , m_clear(Look::button(QStringLiteral("clearProxyButton"), tr("Clea&r"), tr("Forget the stored proxy and use none")))
    , m_proxyHint(Look::quietLabel(QStringLiteral("proxyHint"))) {
    auto* const column = new QVBoxLayout(this);
    const int margin = Look::lines(*this, 0.7);
    column->setContentsMargins(0, margin, 0, 0);
    column->setSpacing(margin);
    column->addWidget(makeServerCard());
    column->addWidget(makeProxyCard());
    column->addStretch(1);
    connect(m_servers, qOverload<int>(&QComboBox::currentIndexChanged), this, &SettingsPanel::updateButtons);
    connect(m_switch, &QPushButton::clicked, this, [this] { emit switchServerWanted(chosenServer()); });
    connect(m_store, &QPushButton::clicked, this, &SettingsPanel::storeProxy);
    connect(m_password, &QLineEdit::returnPressed, this, &SettingsPanel::storeProxy);
    connect(m_clear, &QPushButton::clicked, this, &SettingsPanel::clearProxyWanted);
    updateButtons();
}

Card* SettingsPanel::makeServerCard() {
    auto* const card = new Card(tr("Server"));
    m_servers->setObjectName(QStringLiteral("serverBox"));
    for (const Server server : {Production, Staging, Development})
        m_servers->addItem(serverName(server), static_cast<int>(server));
    auto* const label = new QLabel(tr("S&erver:"));
    label->setBuddy(m_servers);
    auto* const row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_servers, 1);
    row->addWidget(m_switch);
    card->content().addLayout(row);
    card->content().addWidget(m_serverHint);
    return card;
}

Card* SettingsPanel::makeProxyCard() {
    auto* const card = new Card(tr("Proxy"));
    m_host->setObjectName(QStringLiteral("proxyHost"));
    m_host->setPlaceholderText(tr("proxy.example.com"));
    m_port->setObjectName(QStringLiteral("proxyPort"));
    m_port->setRange(1, 65535);
    m_port->setValue(8080);
    m_user->setObjectName(QStringLiteral("proxyUser"));
    m_password->setObjectName(QStringLiteral("proxyPassword"));
    m_password->setEchoMode(QLineEdit::Password);
    auto* const form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->addRow(tr("&Host:"), m_host);
    form->addRow(tr("&Port:"), m_port);
    form->addRow(tr("&User:"), m_user);
    form->addRow(tr("Passwor&d:"), m_password);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(m_proxyHint, 1);
    buttons->addWidget(m_store);
    buttons->addWidget(m_clear);
    card->content().addLayout(form);
    card->content().addLayout(buttons);
    return card;
}

void SettingsPanel::showState(const AccountState& state) {
    // Keeps a choice that the user has made but not applied yet.
    if (state.server != m_server)
        m_servers->setCurrentIndex(m_servers->findData(static_cast<int>(state.server)));
    m_server = state.server;
    m_isSignedIn = state.isSignedIn;
    m_hasProxy = state.hasProxy;
    updateButtons();
}

void SettingsPanel::showActivity(Activity activity) {
    m_isIdle = activity == Activity::Idle;
    updateButtons();
}

void SettingsPanel::storeProxy() {
    emit storeProxyWanted({m_host->text().trimmed(), m_port->value(), m_user->text(), m_password->text()});
    m_password->clear();
}

void SettingsPanel::updateButtons() {
    const bool isOther = chosenServer() != m_server;
    m_switch->setEnabled(m_isIdle && isOther);
    m_store->setEnabled(m_isIdle);
    m_clear->setEnabled(m_isIdle && m_hasProxy);
    m_serverHint->setText(isOther && m_isSignedIn ? tr("Switching signs you out of %1 in all products.").arg(serverName(m_server))
                                                  : tr("Products that run already stay on their server until they start again."));
    m_proxyHint->setText(m_hasProxy ? tr("A proxy is stored for all products of yours, its password encrypted.")
                                    : tr("No proxy is stored."));
}

Server SettingsPanel::chosenServer() const {
    return static_cast<Server>(m_servers->currentData().toInt());
}
