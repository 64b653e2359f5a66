#include "VqUtil/Prompt/CredentialPrompt.h"

#include "VqUtil/Crypto/SecretBytes.h"
#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <openssl/crypto.h>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>

namespace Velquor::Util {

namespace {

constexpr int maximumLineLength = 4096;
constexpr char interrupt = 3;

// A host name or a caption from outside must not send control sequences to the terminal.
QByteArray printable(QString text) {
    std::replace_if(
        text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control && c != QLatin1Char('\n'); },
        QLatin1Char(' '));
    return text.toUtf8();
}

/// The terminal of the process. It switches the echo off while a password is typed, and always on again.
class Terminal {
public:
    explicit Terminal(int wake)
        : m_file(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC))
        , m_wake(wake) {}
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() { showInput(); }

    /// 0, or the reason why the user cannot be asked. The system stops a background process that reads from the terminal.
    [[nodiscard]] int problem() const {
        if (!m_file.isValid())
            return ENXIO;
        return ::tcgetpgrp(m_file.get()) == ::getpgrp() ? 0 : ENOTTY;
    }

    void write(const QByteArray& text) const { static_cast<void>(::write(m_file.get(), text.constData(), text.size()) < 0); }

    // Signals are off too: an interrupt would end the process with the echo off. Its character cancels the prompt instead.
    [[nodiscard]] bool hideInput() {
        if (::tcgetattr(m_file.get(), &m_before) != 0)
            return false;
        termios hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        m_isHidden = ::tcsetattr(m_file.get(), TCSAFLUSH, &hidden) == 0;
        return m_isHidden;
    }

    void showInput() {
        if (m_isHidden)
            ::tcsetattr(m_file.get(), TCSAFLUSH, &m_before);
        m_isHidden = false;
    }

    /// One line without its end. False when the input ended or was canceled.
    [[nodiscard]] bool readLine(SecretBytes& line) const {
        QByteArray read;
        read.reserve(maximumLineLength);
        bool isWhole = false;
        char character = 0;
        while (!isWhole && read.size() < maximumLineLength - 1 && waitForInput() && ::read(m_file.get(), &character, 1) == 1
               && character != interrupt) {
            isWhole = character == '\n';
            if (!isWhole)
                read.append(character);
        }
        line = SecretBytes(std::move(read));
        return isWhole;
    }

private:
    [[nodiscard]] bool waitForInput() const {
        pollfd files[] = {{m_file.get(), POLLIN, 0}, {m_wake, POLLIN, 0}};
        int ready = -1;
        do {
            ready = ::poll(files, 2, -1);
        } while (ready < 0 && errno == EINTR);
        return ready > 0 && files[1].revents == 0;
    }

    const FileDescriptor m_file;
    const int m_wake;
    termios m_before{};
    bool m_isHidden = false;
};

void giveBack(const SecretBytes& line, wchar_t* buffer, int size) {
    std::wstring wide = line.toText().toStdWString();
    const std::size_t copied = std::min<std::size_t>(wide.size(), static_cast<std::size_t>(size - 1));
    std::wmemcpy(buffer, wide.data(), copied);
    buffer[copied] = 0;
    ::OPENSSL_cleanse(wide.data(), wide.size() * sizeof(wchar_t));
}

} // namespace

struct CredentialPrompt::Native {
    FileDescriptor wakeReader;
    FileDescriptor wakeWriter;

    Native() {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
            wakeReader.reset(ends[0]);
            wakeWriter.reset(ends[1]);
        }
    }

    void forgetWakes() const {
        char byte = 0;
        while (::read(wakeReader.get(), &byte, 1) == 1) {
        }
    }
};

CredentialPrompt::CredentialPrompt()
    : m_native(new Native) {}

CredentialPrompt::~CredentialPrompt() = default;

int CredentialPrompt::ask(const CredentialPromptTexts& texts, wchar_t* user, int userSize, wchar_t* password, int passwordSize) {
    m_native->forgetWakes();
    Terminal terminal(m_native->wakeReader.get());
    const int problem = terminal.problem();
    if (problem != 0)
        return problem;
    terminal.write(printable(QStringLiteral("\n%1\n%2\nUser name: ").arg(texts.caption, texts.message)));
    SecretBytes name;
    SecretBytes secret;
    if (!terminal.readLine(name) || name.isEmpty())
        return credentialPromptCanceled;
    terminal.write("Password: ");
    if (!terminal.hideInput())
        return ENOTTY;
    const bool isGiven = terminal.readLine(secret);
    terminal.showInput();
    terminal.write("\n");
    if (!isGiven)
        return credentialPromptCanceled;
    giveBack(name, user, userSize);
    giveBack(secret, password, passwordSize);
    return 0;
}

void CredentialPrompt::cancel() {
    static_cast<void>(::write(m_native->wakeWriter.get(), "x", 1) < 0);
}

QString CredentialPrompt::errorText(int code) {
    return QString::fromLocal8Bit(std::strerror(code));
}

} // namespace Velquor::Util
