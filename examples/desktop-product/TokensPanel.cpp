#include "TokensPanel.h"

#include <QTime>

namespace {
constexpr int secondMs = 1000;
}

TokensPanel::TokensPanel(QWidget* parent)
    : Card(tr("Tokens"), parent)
    , m_access(new TokenView(QStringLiteral("access"), tr("Access token"), tr("&Renew")))
    , m_oauth2(new TokenView(QStringLiteral("oauth2"), tr("OAuth2 token"), tr("Rene&w"))) {
    auto* const line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setForegroundRole(QPalette::Mid);
    line->setFrameShadow(QFrame::Plain);
    content().addWidget(m_access, 1);
    content().addWidget(line);
    content().addWidget(m_oauth2, 1);
    connect(m_access, &TokenView::renewWanted, this, &TokensPanel::renewAccessTokenWanted);
    connect(m_oauth2, &TokenView::renewWanted, this, &TokensPanel::renewOAuth2TokenWanted);
    connect(&m_timer, &QTimer::timeout, this, &TokensPanel::tick);
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    tick();
}

void TokensPanel::showState(const AccountState& state) {
    m_access->showToken(state.accessToken, state.isSignedIn);
    m_oauth2->showToken(state.oauth2Token, state.isSignedIn);
}

void TokensPanel::showActivity(Activity activity) {
    m_access->setIdle(activity == Activity::Idle);
    m_oauth2->setIdle(activity == Activity::Idle);
}

void TokensPanel::tick() {
    m_access->tick();
    m_oauth2->tick();
    // At the full second, so that two windows count down at the same time.
    m_timer.start(secondMs - QTime::currentTime().msec());
}
