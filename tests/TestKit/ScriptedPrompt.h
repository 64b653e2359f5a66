#pragma once

#include <QMutex>
#include <QMutexLocker>
#include <QSemaphore>
#include <QString>
#include <QVector>
#include <VqWebServices/ICredentialPrompt.h>
#include <atomic>
#include <cwchar>
#include <functional>

namespace Velquor::TestKit {

/// A user who has made up their mind: answers one prompt after the other, and cancels when there is no answer left.
/// Thread: any. Owner: shared.
class ScriptedPrompt final : public WebServices::ICredentialPrompt {
public:
    struct Answer {
        int code = Given;
        QString user;
        QString password;
    };

    explicit ScriptedPrompt(const QVector<Answer>& answers = {})
        : m_answers(answers) {}

    int Ask(const wchar_t* caption, const wchar_t* message, const wchar_t* proxyHost, wchar_t* user, int userSize,
            wchar_t* password, int passwordSize) override {
        Answer answer{Canceled, {}, {}};
        {
            const QMutexLocker lock(&m_mutex);
            texts = {QString::fromWCharArray(caption), QString::fromWCharArray(message), QString::fromWCharArray(proxyHost),
                     QString::fromWCharArray(user)};
            if (asked < m_answers.size())
                answer = m_answers.at(asked);
        }
        ++asked;
        if (reaction)
            reaction();
        if (answer.code == Given) {
            copy(answer.user, user, userSize);
            copy(answer.password, password, passwordSize);
        }
        return answer.code;
    }

    void Cancel() override { canceled.release(); }

    /// What the last prompt showed: caption, message, host, user.
    QVector<QString> texts;
    std::atomic<int> asked{0};
    QSemaphore canceled;
    std::function<void()> reaction; ///< Runs while the prompt is open.

private:
    static void copy(const QString& text, wchar_t* buffer, int size) {
        const std::wstring wide = text.toStdWString().substr(0, static_cast<std::size_t>(size - 1));
        std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
    }

    QMutex m_mutex;
    const QVector<Answer> m_answers;
};

} // namespace Velquor::TestKit
