#include "TokenView.h"

#include "Look.h"

#include <QDateTime>
#include <QGridLayout>
#include <QLocale>

namespace {

// The library renews a token this many seconds before it expires.
constexpr qint64 renewalMargin = 300;

QString spanText(qint64 seconds) {
    const qint64 hours = seconds / 3600;
    const auto twoDigits = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const QString tail = twoDigits(seconds / 60 % 60) + QLatin1Char(':') + twoDigits(seconds % 60);
    return hours > 0 ? QString::number(hours) + QLatin1Char(':') + tail : tail;
}

QString clockText(qint64 date) {
    return QLocale().toString(QDateTime::fromSecsSinceEpoch(date).time(), QStringLiteral("HH:mm"));
}

} // namespace

TokenView::TokenView(const QString& name, const QString& title, const QString& renewText, QWidget* parent)
    : QWidget(parent)
    , m_title(title)
    , m_expires(Look::label(name + QStringLiteral("Expiry"), 2.1, true))
    , m_expiresText(Look::quietLabel(name + QStringLiteral("ExpiryText")))
    , m_renewal(Look::label(name + QStringLiteral("Renewal"), 2.1))
    , m_renewalText(Look::quietLabel(name + QStringLiteral("RenewalText")))
    , m_renew(Look::button(name + QStringLiteral("RenewButton"), renewText, tr("Ask for a new %1 now").arg(title))) {
    for (QLabel* const caption : {m_expiresText, m_renewalText})
        caption->setWordWrap(false);
    m_renewal->setForegroundRole(QPalette::PlaceholderText);
    arrange();
    connect(m_renew, &QPushButton::clicked, this, &TokenView::renewWanted);
    tick();
    updateButton();
}

void TokenView::arrange() {
    QLabel* const heading = Look::label(QString());
    heading->setText(m_title);
    auto* const grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setVerticalSpacing(0);
    grid->setHorizontalSpacing(Look::lines(*this, 0.8));
    grid->addWidget(heading, 1, 0, 1, 2);
    grid->addWidget(m_expires, 2, 0);
    grid->addWidget(m_renewal, 2, 1);
    grid->addWidget(m_expiresText, 3, 0);
    grid->addWidget(m_renewalText, 3, 1);
    grid->addWidget(m_renew, 1, 2, 3, 1, Qt::AlignVCenter);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(0, 1);
    grid->setRowStretch(4, 1);
}

void TokenView::showToken(const TokenFacts& token, bool isSignedIn) {
    m_token = token;
    m_isSignedIn = isSignedIn;
    tick();
    updateButton();
}

void TokenView::setIdle(bool isIdle) {
    m_isIdle = isIdle;
    updateButton();
}

void TokenView::tick() {
    if (m_token.isHeld)
        showTimes(m_token.expiry - QDateTime::currentSecsSinceEpoch());
    else
        showNone();
    // A screen reader says the time of day. A name that counts down would change each second.
    m_expires->setAccessibleName(tr("%1: %2").arg(m_title, m_expiresText->text()));
    m_renewal->setAccessibleName(tr("%1: %2").arg(m_title, m_renewalText->text()));
}

void TokenView::showTimes(qint64 left) {
    const bool isExpired = left <= 0;
    const bool isDue = left <= renewalMargin;
    m_expires->setText(isExpired ? tr("expired") : spanText(left));
    m_expiresText->setText((isExpired ? tr("at %1") : tr("expires at %1")).arg(clockText(m_token.expiry)));
    m_renewal->setText(isDue ? tr("now") : spanText(left - renewalMargin));
    m_renewalText->setText(isDue ? tr("being renewed") : tr("renewed at %1").arg(clockText(m_token.expiry - renewalMargin)));
}

void TokenView::showNone() {
    m_expires->setText(tr("–"));
    m_renewal->setText(tr("–"));
    m_expiresText->setText(m_isSignedIn ? tr("being asked for") : tr("no token"));
    m_renewalText->setText(tr("no renewal"));
}

void TokenView::updateButton() {
    m_renew->setEnabled(m_isIdle && m_token.isHeld);
}
