#pragma once

#include "AccountState.h"
#include "FailureTexts.h"

#include <QMainWindow>
#include <QPointer>
#include <functional>

class AccountPanel;
class ActivityBar;
class EventsPanel;
class HeaderPanel;
class NoticeBar;
class NotePanel;
class Product;
class SettingsPanel;
class TokensPanel;
class UnsavedWorkQuestion;

/// The window. It combines the panels and connects them with the product.
///
/// Thread: the main thread. Owner: main(). The product outlives it.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// Opens an address in the user's browser; false when that failed.
    using OpenAddress = std::function<bool(const QString&)>;

    MainWindow(Product& product, const QString& productName, OpenAddress openAddress);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void arrange();
    QWidget* makeOverview();
    void addShortcuts();
    void addShortcut(const QKeySequence& keys, const std::function<void()>& action);
    void connectProduct();
    void connectPanels();
    void showActivity(Activity activity);
    void showFailure(const Failure& failure);
    void giveFocusBack();
    void escape();
    void closeNotice();
    void askAboutUnsavedWork();
    void showEndOfSignIn(SignInEnd end);
    void openPage();

    Product& m_product;
    const OpenAddress m_openAddress;
    QString m_page;
    // The widget that had the focus before an action disabled it, and the one that had it during the action. The focus is
    // restored unless the user has moved it.
    QPointer<QWidget> m_focusBefore;
    QPointer<QWidget> m_focusDuring;
    bool m_isIdle = true;
    HeaderPanel* m_header;
    NoticeBar* m_notice;
    ActivityBar* m_activity;
    AccountPanel* m_account;
    TokensPanel* m_tokens;
    EventsPanel* m_events;
    NotePanel* m_note;
    SettingsPanel* m_settings;
    QPointer<UnsavedWorkQuestion> m_question;
};
