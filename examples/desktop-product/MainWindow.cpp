#include "MainWindow.h"

#include "AccountPanel.h"
#include "ActivityBar.h"
#include "EventsPanel.h"
#include "HeaderPanel.h"
#include "Look.h"
#include "NotePanel.h"
#include "NoticeBar.h"
#include "Product.h"
#include "ScrollPage.h"
#include "SettingsPanel.h"
#include "TokensPanel.h"
#include "UnsavedWorkQuestion.h"

#include <QGridLayout>
#include <QScreen>
#include <QShortcut>
#include <QStandardPaths>
#include <QTabWidget>
#include <QUrl>
#include <utility>

namespace {

NoteStore storeOf(const QString& productName) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return NoteStore(
        QStringLiteral("%1/desktop-product/%2").arg(folder, QString::fromLatin1(QUrl::toPercentEncoding(productName))));
}

} // namespace

MainWindow::MainWindow(Product& product, const QString& productName, OpenAddress openAddress)
    : m_product(product)
    , m_openAddress(std::move(openAddress))
    , m_header(new HeaderPanel(productName))
    , m_notice(new NoticeBar)
    , m_activity(new ActivityBar)
    , m_account(new AccountPanel)
    , m_tokens(new TokensPanel)
    , m_events(new EventsPanel)
    , m_note(new NotePanel(storeOf(productName)))
    , m_settings(new SettingsPanel) {
    setWindowTitle(productName);
    arrange();
    addShortcuts();
    connectProduct();
    connectPanels();
    resize(QSize(Look::lines(*this, 50), Look::lines(*this, 41)).boundedTo(screen()->availableSize()));
    // The window may become active while the product is starting. Without this, the first part enabled then would get the focus.
    m_header->wayInOrOut()->setFocus();
}

void MainWindow::arrange() {
    auto* const tabs = new QTabWidget;
    tabs->setObjectName(QStringLiteral("tabs"));
    tabs->setDocumentMode(true);
    tabs->addTab(new ScrollPage(makeOverview()), tr("O&verview"));
    tabs->addTab(m_note, tr("Note&book"));
    tabs->addTab(new ScrollPage(m_settings), tr("Settin&gs"));
    auto* const central = new QWidget;
    auto* const column = new QVBoxLayout(central);
    const int margin = Look::lines(*this, 1);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(Look::lines(*this, 0.7));
    column->addWidget(m_header);
    column->addWidget(m_notice);
    column->addWidget(m_activity);
    column->addWidget(tabs, 1);
    setCentralWidget(central);
}

QWidget* MainWindow::makeOverview() {
    auto* const overview = new QWidget;
    auto* const grid = new QGridLayout(overview);
    const int gap = Look::lines(*this, 0.7);
    grid->setContentsMargins(0, gap, 0, 0);
    grid->setSpacing(gap);
    grid->addWidget(m_account, 0, 0);
    grid->addWidget(m_tokens, 0, 1);
    grid->addWidget(m_events, 1, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(1, 1);
    return overview;
}

void MainWindow::addShortcuts() {
    addShortcut(QKeySequence::Refresh, [this] { m_product.refresh(); });
    addShortcut(QKeySequence::Save, [this] { m_note->save(); });
    addShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), [this] { close(); });
    addShortcut(QKeySequence(Qt::Key_Escape), [this] { escape(); });
}

void MainWindow::addShortcut(const QKeySequence& keys, const std::function<void()>& action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
}

void MainWindow::connectProduct() {
    connect(&m_product, &Product::stateChanged, m_header, &HeaderPanel::showState);
    connect(&m_product, &Product::stateChanged, m_account, &AccountPanel::showState);
    connect(&m_product, &Product::stateChanged, m_tokens, &TokensPanel::showState);
    connect(&m_product, &Product::stateChanged, m_settings, &SettingsPanel::showState);
    connect(&m_product, &Product::detailsChanged, m_account, &AccountPanel::showDetails);
    connect(&m_product, &Product::eventHappened, m_events, &EventsPanel::addEvent);
    connect(&m_product, &Product::activityChanged, this, &MainWindow::showActivity);
    connect(&m_product, &Product::failed, this, &MainWindow::showFailure);
    connect(&m_product, &Product::succeeded, this, &MainWindow::closeNotice);
    connect(&m_product, &Product::vetoed, this, &MainWindow::askAboutUnsavedWork);
    connect(&m_product, &Product::signInEnded, this, &MainWindow::showEndOfSignIn);
    connect(&m_product, &Product::stateChanged, m_note, &NotePanel::showState);
    m_product.setHasUnsavedWork([this] { return m_note->hasUnsavedWork(); });
    connect(&m_product, &Product::pageReady, this, [this](const QString& page) {
        m_page = page;
        openPage();
    });
}

void MainWindow::connectPanels() {
    connect(m_header, &HeaderPanel::signInWanted, &m_product, &Product::signIn);
    connect(m_header, &HeaderPanel::signOutWanted, &m_product, &Product::signOut);
    connect(m_activity, &ActivityBar::continueWanted, &m_product, &Product::completeSignIn);
    connect(m_activity, &ActivityBar::reopenWanted, this, &MainWindow::openPage);
    connect(m_activity, &ActivityBar::cancelWanted, &m_product, &Product::cancel);
    connect(m_tokens, &TokensPanel::renewAccessTokenWanted, &m_product, &Product::renewAccessToken);
    connect(m_tokens, &TokensPanel::renewOAuth2TokenWanted, &m_product, &Product::renewOAuth2Token);
    connect(m_settings, &SettingsPanel::switchServerWanted, &m_product, &Product::switchServer);
    connect(m_settings, &SettingsPanel::storeProxyWanted, &m_product, &Product::storeProxy);
    connect(m_settings, &SettingsPanel::clearProxyWanted, &m_product, &Product::clearProxy);
    connect(m_account, &AccountPanel::refreshWanted, &m_product, &Product::refresh);
    connect(m_note, &NotePanel::failed, this, &MainWindow::showFailure);
    connect(m_note, &NotePanel::saved, this, &MainWindow::closeNotice);
    connect(m_notice, &NoticeBar::closeWanted, this, &MainWindow::closeNotice);
    connect(m_notice, &NoticeBar::logWanted, this,
            [this] { m_openAddress(QUrl::fromLocalFile(Product::logFile()).toString(QUrl::FullyEncoded)); });
}

void MainWindow::showActivity(Activity activity) {
    const bool wasIdle = m_isIdle;
    m_isIdle = activity == Activity::Idle;
    QWidget* const focus = focusWidget();
    const bool isFocusUnmoved = !focus || focus == m_focusDuring || m_activity->isAncestorOf(focus);
    if (wasIdle)
        m_focusBefore = focus;
    m_activity->showActivity(activity);
    m_tokens->showActivity(activity);
    m_settings->showActivity(activity);
    m_header->showActivity(activity);
    if (m_isIdle && isFocusUnmoved && m_focusBefore)
        giveFocusBack();
    m_focusDuring = focusWidget();
}

void MainWindow::giveFocusBack() {
    // The event of the sign-in may arrive before the sign-in ends. The sign-in button is hidden then.
    (m_focusBefore->isVisible() ? m_focusBefore.data() : m_header->wayInOrOut())->setFocus();
}

void MainWindow::showFailure(const Failure& failure) {
    m_notice->showFailure(failure);
}

void MainWindow::escape() {
    if (m_isIdle)
        closeNotice();
    else
        m_product.cancel();
}

void MainWindow::closeNotice() {
    const bool hadFocus = m_notice->isAncestorOf(focusWidget());
    m_notice->hide();
    if (hadFocus)
        m_header->wayInOrOut()->setFocus();
}

void MainWindow::askAboutUnsavedWork() {
    m_question = new UnsavedWorkQuestion(this);
    connect(m_question, &UnsavedWorkQuestion::saveWanted, this, [this] {
        if (m_note->save())
            m_product.repeat();
    });
    connect(m_question, &UnsavedWorkQuestion::discardWanted, this, [this] {
        m_note->discard();
        m_product.repeat();
    });
    m_question->open();
    m_question->activateWindow();
}

void MainWindow::showEndOfSignIn(SignInEnd end) {
    // There is nothing left to ask.
    if (m_question)
        m_question->reject();
    const bool hasDraft = m_note->hasUnsavedWork();
    showFailure(end == SignInEnd::Expired ? FailureTexts::signInExpired(hasDraft) : FailureTexts::signedOutElsewhere(hasDraft));
}

void MainWindow::closeEvent(QCloseEvent* event) {
    m_note->keepDraft();
    QMainWindow::closeEvent(event);
}

void MainWindow::openPage() {
    if (m_openAddress(m_page))
        closeNotice();
    else
        showFailure(FailureTexts::noBrowser());
}
