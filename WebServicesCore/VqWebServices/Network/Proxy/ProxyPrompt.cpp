#include "Network/Proxy/ProxyPrompt.h"

#include "Network/Proxy/ProxyPromptRun.h"
#include "VqUtil/Prompt/CredentialPrompt.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QMutexLocker>
#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr unsigned long sliceMs = 50;
// A product's prompt may ignore Cancel(); the library must not wait for its user for ever.
constexpr int closeTimeoutMs = 1500;

void handleEvents() {
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void cancel(ICredentialPrompt& prompt) {
    try {
        prompt.Cancel();
    } catch (...) {
        // An exception of the product's code. The caller notices that the prompt is still open.
    }
}

/// The prompt of the operating system, for products without a prompt of their own. Thread and owner: as of the interface.
class SystemCredentialPrompt final : public ICredentialPrompt {
public:
    int Ask(const wchar_t* caption, const wchar_t* message, const wchar_t* proxyHost, wchar_t* user, int userSize,
            wchar_t* password, int passwordSize) override {
        static_assert(Canceled == Util::credentialPromptCanceled, "one code for a user who does not want to");
        return m_prompt.ask(
            {QString::fromWCharArray(caption), QString::fromWCharArray(message), QString::fromWCharArray(proxyHost)}, user,
            userSize, password, passwordSize);
    }

    void Cancel() override { m_prompt.cancel(); }

private:
    Util::CredentialPrompt m_prompt;
};

} // namespace

/// The right to prompt, for one request at a time. A request that waits for it may get the answer of the request before.
class ProxyPrompt::Turn {
public:
    Turn(ProxyPrompt& prompt, const ProxyAddress& proxy, Qt::HANDLE waiting)
        : m_prompt(prompt) {
        QMutexLocker lock(&prompt.m_mutex);
        const Qt::HANDLE self = QThread::currentThreadId();
        const quint64 before = prompt.m_last.number;
        ++prompt.m_waiting;
        // A prompt further up on this thread, or on the one that waits for this request, cannot be answered while this one waits.
        while (prompt.m_isOpen && prompt.m_asker && prompt.m_asker != self && prompt.m_asker != waiting) {
            prompt.m_changed.wait(&prompt.m_mutex, sliceMs);
            lock.unlock();
            handleEvents();
            lock.relock();
        }
        --prompt.m_waiting;
        m_isAnswered = prompt.m_last.number != before && prompt.m_last.proxy == proxy;
        if (m_isAnswered)
            m_answer = {prompt.m_last.user, prompt.m_last.password.toText()};
        prompt.forgetAnswer();
        m_isMine = prompt.m_isOpen && !prompt.m_asker;
        if (m_isMine)
            prompt.m_asker = self;
    }
    ~Turn() {
        const QMutexLocker lock(&m_prompt.m_mutex);
        if (m_isMine)
            m_prompt.m_asker = nullptr;
        m_prompt.m_changed.wakeAll();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    [[nodiscard]] bool isMine() const { return m_isMine; }
    /// Another request has prompted during the wait; `answer` is empty when the user gave none.
    [[nodiscard]] bool isAnswered() const { return m_isAnswered; }
    [[nodiscard]] const ProxyLogin& answer() const { return m_answer; }

private:
    ProxyPrompt& m_prompt;
    bool m_isMine = false;
    bool m_isAnswered = false;
    ProxyLogin m_answer;
};

ProxyPrompt& ProxyPrompt::instance() {
    // Never destroyed: requests may outlive static objects.
    static auto* const singleton = new ProxyPrompt;
    return *singleton;
}

void ProxyPrompt::open(std::shared_ptr<IProxyCredentialStore> store) {
    const QMutexLocker lock(&m_mutex);
    m_store = std::move(store);
    m_isOpen = true;
}

void ProxyPrompt::close() {
    QMutexLocker lock(&m_mutex);
    m_isOpen = false;
    m_store.reset();
    m_texts = {};
    m_changed.wakeAll();
    const QDeadlineTimer deadline(closeTimeoutMs);
    // Repeatedly: the prompt may not be on the screen yet. Events are handled, since it may need this thread to close.
    while (m_asker && !deadline.hasExpired()) {
        const std::shared_ptr<ICredentialPrompt> prompt = m_openPrompt;
        const bool isOfThisThread = m_asker == QThread::currentThreadId();
        lock.unlock();
        if (prompt)
            cancel(*prompt);
        if (isOfThisThread)
            return;
        handleEvents();
        lock.relock();
        if (m_asker)
            m_changed.wait(&m_mutex, sliceMs);
    }
}

void ProxyPrompt::setPrompt(std::shared_ptr<ICredentialPrompt> prompt) {
    {
        const QMutexLocker lock(&m_mutex);
        std::swap(m_prompt, prompt);
    }
    // The old prompt is destroyed here, with no lock held: its destructor is the product's code.
}

void ProxyPrompt::setTexts(const ProxyDialogTexts& texts) {
    const QMutexLocker lock(&m_mutex);
    m_texts = texts;
}

ProxyDialogTexts ProxyPrompt::texts() const {
    const QMutexLocker lock(&m_mutex);
    return withDefaults(m_texts);
}

std::shared_ptr<IProxyCredentialStore> ProxyPrompt::store() const {
    const QMutexLocker lock(&m_mutex);
    return m_store;
}

ProxyLogin ProxyPrompt::stored(const ProxyAddress& proxy, const RefusedLogins& refused) const {
    const std::shared_ptr<IProxyCredentialStore> from = store();
    return from ? from->find(proxy, refused) : ProxyLogin();
}

void ProxyPrompt::forgetAnswer() {
    if (m_waiting == 0)
        m_last = {{}, {}, {}, m_last.number};
}

ProxyLogin ProxyPrompt::ask(const ProxyAddress& proxy, const RefusedLogins& refused, Log::ILogger& logger, Qt::HANDLE waiting) {
    const Turn turn(*this, proxy, waiting);
    if (turn.isAnswered() && (turn.answer().isEmpty() || !refused.contains(turn.answer()))) {
        logger.information(QStringLiteral("Another request has asked for the proxy credentials. Using the answer it got."));
        return turn.answer();
    }
    if (!turn.isMine()) {
        logger.warning(QStringLiteral("The user cannot be asked for proxy credentials now."));
        return {};
    }
    ProxyLogin login = show(proxy, refused, logger);
    const std::shared_ptr<IProxyCredentialStore> to = login.isEmpty() ? nullptr : store();
    if (to)
        to->store(proxy, login);
    const QMutexLocker lock(&m_mutex);
    m_last = {proxy, login.user, Util::ProtectedText(login.password), m_last.number + 1};
    forgetAnswer();
    return login;
}

ProxyLogin ProxyPrompt::show(const ProxyAddress& proxy, const RefusedLogins& refused, Log::ILogger& logger) {
    logger.information(QStringLiteral("ProxyAuthenticationRequired called. Showing proxy authentication dialog."));
    std::shared_ptr<ICredentialPrompt> prompt;
    {
        const QMutexLocker lock(&m_mutex);
        prompt = m_prompt ? m_prompt : std::make_shared<SystemCredentialPrompt>();
        m_openPrompt = prompt;
    }
    ProxyPromptRun run(texts(), proxy, refused.lastUser());
    run.show(*prompt);
    {
        const QMutexLocker lock(&m_mutex);
        m_openPrompt.reset();
    }
    if (run.isGiven()) {
        logger.information(QStringLiteral("Proxy authentication dialog closed: Authentication successful"));
        return run.login();
    }
    logger.error(QStringLiteral("Proxy authentication dialog closed: Authentication failed. Error: %1.").arg(run.error()));
    if (!run.isCanceled())
        logger.error(QStringLiteral("Proxy authentication failed"));
    return {};
}

} // namespace Velquor::WebServices::Internal
