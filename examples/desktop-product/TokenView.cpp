#include "TokenView.h"

#include "Look.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLocale>

namespace {

// The library renews a token when so many seconds are left.
constexpr qint64 renewalMargin = 300;

QString spanText(qint64 seconds) {
    const qint64 hours = seconds / 3600;
    const auto twoDigits = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const QString tail = twoDigits(seconds / 60 % 60) + QLatin1Char(':') + twoDigits(seconds % 60);
    return hours > 0 ? QString::number(hours) + QLatin1Char(':') + tail : tail;
}

} // namespace

TokenView::TokenView(const QString& name, const QString& title, const QString& renewText, QWidget* parent)
    : QWidget(parent)
    , m_expires(Look::label(name + QStringLiteral("Expiry"), 2.1, true))
    , m_expiresText(Look::quietLabel(name + QStringLiteral("ExpiryText")))
    , m_renewal(Look::quietLabel(name + QStringLiteral("Renewal")))
    , m_renew(Look::button(name + QStringLiteral("RenewButton"), renewText, tr("Ask for a new %1 now").arg(title))) {
    QLabel* const heading = Look::quietLabel(QString(), title);
    m_expires->setAccessibleName(tr("%1 expires in").arg(title));
    m_renewal->setAccessibleName(tr("%1 is renewed").arg(title));
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(0);
    for (QLabel* const label : {heading, m_expires, m_expiresText, m_renewal})
        texts->addWidget(label);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addLayout(texts, 1);
    row->addWidget(m_renew, 0, Qt::AlignVCenter);
    connect(m_renew, &QPushButton::clicked, this, &TokenView::renewWanted);
    tick();
    updateButton();
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
    const qint64 left = m_token.expiry - QDateTime::currentSecsSinceEpoch();
    if (!m_token.isHeld) {
        m_expires->setText(tr("–"));
        m_expiresText->setText(m_isSignedIn ? tr("not there yet; the library is asking for one") : tr("none while nobody is signed in"));
        m_renewal->clear();
        return;
    }
    const bool isExpired = left <= 0;
    const QString clock = QLocale().toString(QDateTime::fromSecsSinceEpoch(m_token.expiry).time(), QLocale::ShortFormat);
    m_expires->setText(isExpired ? tr("expired") : spanText(left));
    m_expiresText->setText(isExpired ? tr("since %1").arg(clock) : tr("until it expires at %1").arg(clock));
    m_renewal->setText(left > renewalMargin ? tr("renewed in %1").arg(spanText(left - renewalMargin)) : tr("being renewed about now"));
}

void TokenView::updateButton() {
    m_renew->setEnabled(m_isIdle && m_token.isHeld);
}
