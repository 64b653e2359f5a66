// The question on the terminal, asked by a child process on a terminal of its own.

#include "TestKit/Test.h"
#include "VqUtil/Prompt/CredentialPrompt.h"

#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Velquor::Util;

namespace {

constexpr int timeoutMs = 10000;

/// What the child says on its terminal: the result of the prompt, and what was entered.
[[noreturn]] void runChild(bool isCanceledFromInside) {
    CredentialPrompt prompt;
    wchar_t user[514] = L"";
    wchar_t password[8] = L"";
    std::thread canceler;
    if (isCanceledFromInside) {
        canceler = std::thread([&prompt] {
            ::usleep(300000);
            prompt.cancel();
        });
    }
    const QString host = QStringLiteral("proxy\x1b[2J");
    const int code = prompt.ask({"Caption", QStringLiteral("Message for ") + host, host}, user, 514, password, 8);
    if (canceler.joinable())
        canceler.join();
    std::printf("<%d|%ls|%ls>\n", code, user, password);
    std::fflush(stdout);
    ::_exit(0);
}

class Terminal {
public:
    explicit Terminal(bool isCanceledFromInside = false) {
        std::fflush(stdout);
        m_child = ::forkpty(&m_file, nullptr, nullptr, nullptr);
        if (m_child == 0)
            runChild(isCanceledFromInside);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        // A terminal that could not be opened has no child, and a signal to -1 would reach every process of the user.
        if (m_child <= 0)
            return;
        ::close(m_file);
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
    }

    void type(const QByteArray& text) const { QCOMPARE(::write(m_file, text.constData(), text.size()), ssize_t(text.size())); }

    /// Reads until the text has been shown. False when it never is.
    [[nodiscard]] bool waitFor(const QByteArray& text) {
        if (m_child <= 0)
            return false;
        const QDeadlineTimer deadline(timeoutMs);
        while (!m_shown.contains(text) && !deadline.hasExpired()) {
            pollfd file{m_file, POLLIN, 0};
            char bytes[512];
            const auto read = ::poll(&file, 1, 100) > 0 ? ::read(m_file, bytes, sizeof bytes) : 0;
            if (read < 0)
                return false;
            m_shown.append(bytes, static_cast<int>(read));
        }
        return m_shown.contains(text);
    }

    [[nodiscard]] QByteArray shown() const { return m_shown; }

private:
    int m_file = -1;
    pid_t m_child = -1;
    QByteArray m_shown;
};

} // namespace

class PosixCredentialPromptTest : public QObject {
    Q_OBJECT

private slots:
    void asksOnTheTerminal() {
        Terminal terminal;
        QVERIFY2(terminal.waitFor("User name: "), terminal.shown().constData());
        QVERIFY(terminal.shown().contains("Caption\r\nMessage for proxy [2J\r\n"));
        terminal.type("joe\n");
        QVERIFY(terminal.waitFor("Password: "));
        QTest::qWait(100);
        terminal.type("sesame-longer\n");
        QVERIFY2(terminal.waitFor("<0|joe|sesame->"), terminal.shown().constData());
        QCOMPARE(terminal.shown().count("sesame"), 1);
    }

    void mayBeCanceled() {
        const Velquor::TestKit::Rows row([&](const QByteArray& user, const QByteArray& password) {
            Terminal terminal;
            QVERIFY(terminal.waitFor("User name: "));
            terminal.type(user);
            if (!password.isEmpty()) {
                QVERIFY(terminal.waitFor("Password: "));
                QTest::qWait(100);
                terminal.type(password);
            }
            QVERIFY2(terminal.waitFor("<1223||>"), terminal.shown().constData());
        });
        row("no name", "\n", {});
        row("end of input for the name", "\x04", {});
        row("end of input for the password", "joe\n", "\x04");
        row("interrupt in the password", "joe\n", "ses\x03\n");
    }

    void mayBeCanceledFromAnotherThread() {
        Terminal terminal(true);
        QVERIFY2(terminal.waitFor("<1223||>"), terminal.shown().constData());
    }

    void cannotAskWithoutATerminal() {
        const pid_t child = ::fork();
        if (child == 0) {
            ::setsid();
            CredentialPrompt prompt;
            wchar_t text[8] = L"";
            ::_exit(prompt.ask({}, text, 8, text, 8) == ENXIO ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
    }
};

QTEST_GUILESS_MAIN(PosixCredentialPromptTest)
#include "PosixCredentialPromptTest.moc"
