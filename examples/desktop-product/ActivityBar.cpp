#include "ActivityBar.h"

#include "Accessibility.h"
#include "Look.h"

#include <QHBoxLayout>

namespace {

// The bar does not appear for an action that ends sooner than this.
constexpr int appearAfterMs = 300;
constexpr int tickMs = 1000;
constexpr int tellSecondsFrom = 3;

QString textOf(Activity activity) {
    switch (activity) {
    case Activity::Idle: return {};
    case Activity::Starting: return ActivityBar::tr("Reading who is signed in …");
    case Activity::RequestingPage: return ActivityBar::tr("Asking the account service for a sign-in page …");
    case Activity::WaitingForBrowser:
        return ActivityBar::tr("Sign in on the page in your browser. When it says that you are signed in, choose Continue.");
    case Activity::Completing: return ActivityBar::tr("Completing the sign-in with the account service …");
    case Activity::SigningOut: return ActivityBar::tr("Telling the account service that you sign out …");
    case Activity::RenewingAccessToken: return ActivityBar::tr("Asking the account service for a new access token …");
    case Activity::RenewingOAuth2Token: return ActivityBar::tr("Asking the account service for a new OAuth2 token …");
    case Activity::SwitchingServer: return ActivityBar::tr("Signing out of the present server and changing to the other …");
    case Activity::StoringProxy: return ActivityBar::tr("Storing the proxy …");
    case Activity::ClearingProxy: return ActivityBar::tr("Removing the stored proxy …");
    }
    return {};
}

} // namespace

ActivityBar::ActivityBar(QWidget* parent)
    : Card(QString(), parent)
    , m_text(Look::label(QStringLiteral("activityText")))
    , m_progress(new QProgressBar)
    , m_continue(Look::button(QStringLiteral("continueButton"), tr("&Continue"), tr("The browser says that I am signed in")))
    , m_reopen(
          Look::button(QStringLiteral("reopenButton"), tr("Open page &again"), tr("Open the sign-in page in the browser again")))
    , m_cancel(Look::button(QStringLiteral("cancelButton"), tr("Ca&ncel"), tr("Give up what is under way (Escape)"))) {
    arrange();
    connectParts();
    m_delay.setSingleShot(true);
    m_delay.setInterval(appearAfterMs);
    m_tick.setInterval(tickMs);
    hide();
}

void ActivityBar::arrange() {
    m_text->setWordWrap(true);
    m_text->setFocusPolicy(Qt::TabFocus);
    m_text->setAccessibleDescription(tr("What this product is waiting for"));
    Accessibility::setRole(*m_text, QAccessible::StatusBar);
    m_progress->setRange(0, 0);
    m_progress->setTextVisible(false);
    m_progress->setMaximumHeight(Look::lines(*this, 0.35));
    m_progress->setAccessibleName(tr("Work under way"));
    Look::makePrimary(*m_continue);
    auto* const row = new QHBoxLayout;
    row->addWidget(m_text, 1);
    for (QPushButton* const button : {m_continue, m_reopen, m_cancel})
        row->addWidget(button, 0, Qt::AlignVCenter);
    content().addLayout(row);
    content().addWidget(m_progress);
}

void ActivityBar::connectParts() {
    connect(m_continue, &QPushButton::clicked, this, &ActivityBar::continueWanted);
    connect(m_reopen, &QPushButton::clicked, this, &ActivityBar::reopenWanted);
    connect(m_cancel, &QPushButton::clicked, this, &ActivityBar::cancelWanted);
    connect(&m_delay, &QTimer::timeout, this, &ActivityBar::appear);
    connect(&m_tick, &QTimer::timeout, this, &ActivityBar::updateText);
}

void ActivityBar::showActivity(Activity activity) {
    m_activity = activity;
    m_since.start();
    const bool isBrowser = activity == Activity::WaitingForBrowser;
    setTint(isBrowser ? palette().color(QPalette::Highlight) : QColor());
    // The focus stays in the bar when Continue is hidden. It moves to the text, so that a second Return does no harm.
    if (!isBrowser && m_continue->hasFocus())
        m_text->setFocus();
    m_continue->setVisible(isBrowser);
    m_reopen->setVisible(isBrowser);
    m_progress->setVisible(!isBrowser);
    updateText();
    if (activity == Activity::Idle) {
        m_delay.stop();
        m_tick.stop();
        hide();
        return;
    }
    m_tick.start();
    if (isBrowser || isVisible())
        appear();
    else
        m_delay.start();
    if (isBrowser)
        m_continue->setFocus();
}

void ActivityBar::appear() {
    show();
}

void ActivityBar::updateText() {
    const qint64 seconds = m_since.elapsed() / 1000;
    const QString text = textOf(m_activity);
    const bool tellsTime = m_activity != Activity::WaitingForBrowser && seconds >= tellSecondsFrom;
    m_text->setText(tellsTime ? tr("%1 (%2 s)").arg(text).arg(seconds) : text);
}
