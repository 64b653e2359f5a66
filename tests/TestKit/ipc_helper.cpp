// Another process of the user, for the tests of the messages between processes. Commands:
//   listen NAME FOLDER           says each message that comes: name, "From", "Number", age in microseconds, whether it serves
//   send NAME FOLDER FROM COUNT  sends COUNT messages, 1000 a second, once it is told a line, and says "sent"
// Both end when their standard input does.

#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Ipc/IPCManager.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <string>

using namespace Velquor;

namespace {

constexpr int batch = 2;
constexpr int batchMs = 2;

// The same for all processes of the machine.
qint64 nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void say(const QByteArray& line) {
    std::fputs((line + '\n').constData(), stdout);
    std::fflush(stdout);
}

/// Reads the standard input, since an event loop cannot wait for it on every system.
class InputThread : public QThread {
    Q_OBJECT

signals:
    void Line();
    void End();

protected:
    void run() override {
        for (int letter = std::getchar(); letter != EOF; letter = std::getchar()) {
            if (letter == '\n')
                emit Line();
        }
        emit End();
    }
};

class Helper : public QObject {
    Q_OBJECT

public:
    explicit Helper(const QStringList& arguments)
        : m_arguments(arguments)
        , m_manager(Log::makeLogger(QStringLiteral("Helper"))) {
        connect(&m_input, &InputThread::Line, this, &Helper::beginToSend);
        connect(&m_input, &InputThread::End, this, &Helper::end);
        connect(&m_timer, &QTimer::timeout, this, &Helper::sendBatch);
        if (arguments.value(1) == QLatin1String("listen"))
            connect(&m_manager, &Util::IPCManager::MessageReceived, this, &Helper::receive);
    }
    ~Helper() override { m_input.wait(); }

    [[nodiscard]] bool start() {
        m_input.start();
        return m_manager.start(m_arguments.value(2), m_arguments.value(3));
    }

private:
    void receive(const QString& name, const QVariantMap& params) {
        const qint64 age = nowUs() - params.value(QStringLiteral("Time")).toLongLong();
        const QByteArray from = params.value(QStringLiteral("From")).toByteArray();
        const QByteArray serves = m_manager.isServing() ? " serves" : " listens";
        say(name.toUtf8() + ' ' + from + ' ' + params.value(QStringLiteral("Number")).toByteArray() + ' ' + QByteArray::number(age) + serves);
    }

    void beginToSend() {
        if (m_arguments.value(1) == QLatin1String("send"))
            m_timer.start(batchMs);
    }

    void sendBatch() {
        const int count = m_arguments.value(5).toInt();
        for (int done = 0; done < batch && m_next < count; ++done, ++m_next) {
            const QVariantMap params{{QStringLiteral("From"), m_arguments.value(4)}, {QStringLiteral("Number"), m_next},
                                     {QStringLiteral("Time"), nowUs()}};
            if (!m_manager.send(QStringLiteral("Numbered"), params))
                say("refused");
        }
        if (m_next < count)
            return;
        m_timer.stop();
        say("sent");
    }

    void end() {
        m_manager.stop();
        QCoreApplication::quit();
    }

    const QStringList m_arguments;
    Util::IPCManager m_manager;
    InputThread m_input;
    QTimer m_timer;
    int m_next = 0;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    Helper helper(QCoreApplication::arguments());
    return helper.start() ? QCoreApplication::exec() : 1;
}

#include "ipc_helper.moc"
