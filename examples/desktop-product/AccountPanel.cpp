#include "AccountPanel.h"

#include "Look.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLocale>

using Velquor::WebServices::ServiceEntitlement;

namespace {

constexpr int quotaSteps = 1000;

QString entitlementText(ServiceEntitlement entitlement) {
    switch (entitlement) {
    case ServiceEntitlement::Entitled: return AccountPanel::tr("included");
    case ServiceEntitlement::Trial: return AccountPanel::tr("trial");
    case ServiceEntitlement::NotEntitled: return AccountPanel::tr("not included");
    case ServiceEntitlement::Unknown:
    case ServiceEntitlement::NoLoginSession: break;
    }
    return AccountPanel::tr("not known");
}

QColor entitlementColour(ServiceEntitlement entitlement) {
    switch (entitlement) {
    case ServiceEntitlement::Entitled: return QColor(0x2f, 0x9e, 0x5b);
    case ServiceEntitlement::Trial: return QColor(0xe0, 0x8a, 0x00);
    default: return QColor(0x8a, 0x93, 0xa3);
    }
}

QLabel* heading(const QString& text, QWidget* buddy) {
    QLabel* const made = Look::quietLabel(QString(), text);
    made->setBuddy(buddy);
    return made;
}

} // namespace

AccountPanel::AccountPanel(QWidget* parent)
    : Card(tr("Account"), parent)
    , m_avatar(new Avatar)
    , m_name(Look::label(QStringLiteral("userName"), 1.25, true))
    , m_mail(Look::quietLabel(QStringLiteral("userMail")))
    , m_expiry(Look::quietLabel(QStringLiteral("signInExpiry")))
    , m_quota(new QProgressBar)
    , m_quotaText(Look::label(QStringLiteral("quotaText")))
    , m_services(new QListWidget)
    , m_refresh(Look::button(QStringLiteral("refreshButton"), tr("Re&fresh"), tr("Ask the web services again (F5)"))) {
    content().addLayout(arrangePerson());
    arrangeQuota();
    arrangeServices();
    content().addStretch(1);
    showState({});
}

QLayout* AccountPanel::arrangePerson() {
    m_expiry->setWordWrap(false);
    m_name->setAccessibleDescription(tr("Name"));
    m_mail->setAccessibleDescription(tr("Mail address"));
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(Look::lines(*this, 0.1));
    for (QLabel* const label : {m_name, m_mail, m_expiry})
        texts->addWidget(label);
    auto* const person = new QHBoxLayout;
    person->setSpacing(Look::lines(*this, 0.8));
    person->addWidget(m_avatar, 0, Qt::AlignTop);
    person->addLayout(texts, 1);
    return person;
}

void AccountPanel::arrangeQuota() {
    m_quota->setObjectName(QStringLiteral("quotaBar"));
    m_quota->setRange(0, quotaSteps);
    m_quota->setTextVisible(false);
    m_quota->setMaximumHeight(Look::lines(*this, 0.6));
    m_quota->setAccessibleName(tr("Storage in use"));
    content().addSpacing(Look::lines(*this, 0.4));
    content().addWidget(heading(tr("Storage"), m_quota));
    content().addWidget(m_quota);
    content().addWidget(m_quotaText);
}

void AccountPanel::arrangeServices() {
    m_services->setObjectName(QStringLiteral("services"));
    m_services->setAccessibleName(tr("Services"));
    m_services->setFrameShape(QFrame::NoFrame);
    m_services->setIconSize(Look::dot(*this, QColor()).size() / devicePixelRatioF());
    m_services->setFixedHeight(Look::lines(*this, 4));
    auto* const row = new QHBoxLayout;
    row->addWidget(heading(tr("Services"), m_services), 1);
    row->addWidget(m_refresh);
    connect(m_refresh, &QPushButton::clicked, this, &AccountPanel::refreshWanted);
    content().addLayout(row);
    content().addWidget(m_services);
}

void AccountPanel::showState(const AccountState& state) {
    m_state = state;
    const QDateTime expiry = QDateTime::fromSecsSinceEpoch(state.signInExpiry);
    m_expiry->setText(state.isSignedIn && state.signInExpiry > 0
                          ? tr("Signed in until %1").arg(QLocale().toString(expiry, tr("d MMM yyyy, HH:mm")))
                          : QString());
    m_expiry->setHidden(m_expiry->text().isEmpty());
    showDetails(m_details, m_isReading);
}

void AccountPanel::showDetails(const AccountDetails& details, bool isReading) {
    m_details = details;
    m_isReading = isReading;
    m_refresh->setEnabled(m_state.isSignedIn);
    showName();
    showQuota();
    showServices();
}

void AccountPanel::showName() {
    const QString fullName = QStringLiteral("%1 %2").arg(m_details.firstName, m_details.lastName).trimmed();
    const QString shown = fullName.isEmpty() ? m_state.userName : fullName;
    m_avatar->setName(m_state.isSignedIn ? shown : QString());
    m_name->setText(m_state.isSignedIn ? shown : tr("Nobody is signed in"));
    if (!m_state.isSignedIn)
        m_mail->setText(tr("Sign in here or in any other product of yours: all of them follow."));
    else
        m_mail->setText(m_details.email.isEmpty() ? missingText() : m_details.email);
}

void AccountPanel::showQuota() {
    const bool isKnown = m_state.isSignedIn && m_details.hasQuota && m_details.totalBytes > 0;
    const double share = isKnown ? static_cast<double>(m_details.usedBytes) / static_cast<double>(m_details.totalBytes) : 0;
    m_quota->setEnabled(isKnown);
    m_quota->setValue(qBound(0, qRound(share * quotaSteps), quotaSteps));
    const QLocale locale;
    m_quotaText->setText(isKnown ? tr("%1 of %2 in use (%3 %)")
                                       .arg(locale.formattedDataSize(m_details.usedBytes, 1, QLocale::DataSizeSIFormat),
                                            locale.formattedDataSize(m_details.totalBytes, 1, QLocale::DataSizeSIFormat))
                                       .arg(qRound(share * 100))
                                 : missingText());
    m_quota->setAccessibleDescription(m_quotaText->text());
}

void AccountPanel::showServices() {
    QStringList lines;
    for (const AccountDetails::Service& service : m_details.services)
        lines.append(tr("%1 – %2").arg(service.name, entitlementText(service.entitlement)));
    if (!m_state.isSignedIn || !m_details.hasServices)
        lines = QStringList{missingText()};
    else if (lines.isEmpty())
        lines = QStringList{tr("No service is included.")};
    QStringList shown;
    for (int row = 0; row < m_services->count(); ++row)
        shown.append(m_services->item(row)->text());
    if (lines == shown)
        return;
    m_services->clear();
    m_services->addItems(lines);
    const bool areServices = m_state.isSignedIn && m_details.hasServices;
    for (int row = 0; areServices && row < m_details.services.size(); ++row)
        m_services->item(row)->setIcon(Look::dot(*this, entitlementColour(m_details.services[row].entitlement)));
}

QString AccountPanel::missingText() const {
    if (!m_state.isSignedIn)
        return tr("–");
    return m_isReading ? tr("Asking the web services …") : tr("Not available right now. Refresh (F5) asks again.");
}
