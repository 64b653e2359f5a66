#include "HeaderPanel.h"

#include "Accessibility.h"
#include "Look.h"

#include <QHBoxLayout>

HeaderPanel::HeaderPanel(const QString& productName, QWidget* parent)
    : QWidget(parent)
    , m_status(Look::quietLabel(QStringLiteral("status"), tr("Starting …")))
    , m_signIn(Look::button(QStringLiteral("signInButton"), tr("&Sign in"), tr("Sign in with the web browser, for all products")))
    , m_signOut(Look::button(QStringLiteral("signOutButton"), tr("Sign &out"), tr("Sign out of all products on this computer"))) {
    QLabel* const title = Look::label(QStringLiteral("product"), 1.7, true);
    title->setText(productName);
    Look::makePrimary(*m_signIn);
    // Its name is its text, and a screen reader tells when that changes.
    m_status->setAccessibleDescription(tr("Who is signed in"));
    Accessibility::setRole(*m_status, QAccessible::StatusBar);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(title);
    texts->addWidget(m_status);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addLayout(texts, 1);
    for (QPushButton* const button : {m_signIn, m_signOut}) {
        button->setMinimumWidth(Look::lines(*this, 6));
        button->setMinimumHeight(Look::lines(*this, 2));
        row->addWidget(button, 0, Qt::AlignVCenter);
    }
    connect(m_signIn, &QPushButton::clicked, this, &HeaderPanel::signInWanted);
    connect(m_signOut, &QPushButton::clicked, this, &HeaderPanel::signOutWanted);
    updateButtons();
}

void HeaderPanel::showState(const AccountState& state) {
    m_isSignedIn = state.isSignedIn;
    m_status->setText(state.isSignedIn ? tr("Signed in as %1 · %2").arg(state.userName, serverName(state.server))
                                       : tr("Nobody is signed in · %1").arg(serverName(state.server)));
    updateButtons();
}

void HeaderPanel::showActivity(Activity activity) {
    m_isIdle = activity == Activity::Idle;
    updateButtons();
}

void HeaderPanel::updateButtons() {
    // The button that is hidden passes the focus to the one that is shown.
    const bool hadFocus = m_signIn->hasFocus() || m_signOut->hasFocus();
    m_signIn->setVisible(!m_isSignedIn);
    m_signOut->setVisible(m_isSignedIn);
    m_signIn->setEnabled(m_isIdle);
    m_signOut->setEnabled(m_isIdle);
    if (hadFocus)
        (m_isSignedIn ? m_signOut : m_signIn)->setFocus();
}
