// Another process of the user, for the tests of the messages between processes. Commands:
//   listen NAME FOLDER           says each message that comes: name, "From", "Number", age in microseconds, whether it serves
//   send NAME FOLDER FROM COUNT  sends COUNT messages, 1000 a second, after it has read a line, and says "sent"
//   hear NAME FOLDER             the same as "listen", for the events of the library (the name does not matter)
//   raise NAME FOLDER FROM COUNT PAUSE  the same as "send" for them, one each PAUSE ms; until it begins, it says what it hears
// All end when their standard input does.

#include "Events/NotificationManager.h"
#include "TestKit/HelperProgram.h"
#include "TestKit/PackedParams.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Messaging/IPCManager.h"
#include "VqUtil/Platform/LeanDispatcher.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>

using namespace Velquor;
using TestKit::say;

namespace {

constexpr int batch = 2;
constexpr int batchMs = 2;
constexpr int sayAfterMs = 100;
constexpr int fileWriteMs = WebServices::Internal::NotificationManager::fileDelayMs + 30;

// The same for all processes of the machine.
qint64 nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
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

/// What carries the numbered messages.
class Carrier {
public:
    using Receiver = std::function<void(const QString&, const QVariantMap&)>;

    virtual ~Carrier() = default;
    [[nodiscard]] virtual bool start() = 0;
    [[nodiscard]] virtual bool send(const QVariantMap& params) = 0;
    [[nodiscard]] virtual bool isServing() const = 0;
    virtual void stop() = 0;
};

class Messages : public Carrier {
public:
    Messages(const QString& name, const QString& folder, const Receiver& receiver)
        : m_name(name)
        , m_folder(folder) {
        QObject::connect(&m_manager, &Util::IPCManager::MessageReceived, receiver);
    }

    [[nodiscard]] bool start() override { return m_manager.start(m_name, m_folder); }
    [[nodiscard]] bool send(const QVariantMap& params) override { return m_manager.send("Numbered", params); }
    [[nodiscard]] bool isServing() const override { return m_manager.isServing(); }
    void stop() override { m_manager.stop(); }

private:
    const QString m_name;
    const QString m_folder;
    Util::IPCManager m_manager{Log::makeLogger("Helper")};
};

/// The events of the library, over both of their carriers.
class Events : public Carrier, public WebServices::Internal::INotificationListener {
public:
    Events(const QString& folder, Receiver receiver)
        : m_receiver(std::move(receiver))
        , m_manager(std::make_unique<WebServices::Internal::NotificationManager>(
              WebServices::Internal::NotificationDependencies{folder, Log::makeLogger("Helper")}, *this)) {}

    [[nodiscard]] bool start() override {
        m_manager->Start();
        return true;
    }
    [[nodiscard]] bool send(const QVariantMap& params) override {
        return m_manager->SendInterProcessMessage(WebServicesPrivateCore::WebServicesEvent::TokenRefreshed,
                                                  TestKit::packed(params));
    }
    [[nodiscard]] bool isServing() const override { return false; }
    void stop() override { m_manager.reset(); }
    void eventReceived(WebServicesPrivateCore::WebServicesEvent event,
                       const WebServices::Internal::EventSubject& subject) override {
        m_receiver(eventName(event), TestKit::unpacked(subject));
    }

private:
    const Receiver m_receiver;
    std::unique_ptr<WebServices::Internal::NotificationManager> m_manager;
};

class Helper : public QObject {
    Q_OBJECT

public:
    explicit Helper(const QStringList& arguments)
        : m_arguments(arguments)
        , m_isEvents(arguments.value(1) == QLatin1String("hear") || arguments.value(1) == QLatin1String("raise")) {
        const Carrier::Receiver receiver = [this](const QString& name, const QVariantMap& params) { receive(name, params); };
        if (m_isEvents)
            m_carrier = std::make_unique<Events>(arguments.value(3), receiver);
        else
            m_carrier = std::make_unique<Messages>(arguments.value(2), arguments.value(3), receiver);
        connect(&m_input, &InputThread::Line, this, &Helper::beginToSend);
        connect(&m_input, &InputThread::End, this, &Helper::end);
        connect(&m_timer, &QTimer::timeout, this, &Helper::sendBatch);
        connect(&m_sayTimer, &QTimer::timeout, this, &Helper::sayAll);
        m_sayTimer.setSingleShot(true);
    }
    ~Helper() override { m_input.wait(); }

    [[nodiscard]] bool start() {
        m_input.start();
        return m_carrier->start();
    }

private:
    [[nodiscard]] bool isSender() const {
        return m_arguments.value(1) == QLatin1String("send") || m_arguments.value(1) == QLatin1String("raise");
    }

    void receive(const QString& name, const QVariantMap& params) {
        // A sender tells that it is connected, and then works.
        if (isSender() && (m_hasBegun || !m_isEvents))
            return;
        const qint64 age = nowUs() - params.value("Time").toLongLong();
        const QByteArray from = params.value("From").toByteArray();
        const QByteArray serves = m_carrier->isServing() ? " serves" : " listens";
        sayLater(name.toUtf8() + ' ' + from + ' ' + params.value("Number").toByteArray() + ' ' + QByteArray::number(age)
                 + serves);
    }

    // Not while others still receive the same event: the process that reads the line would keep them waiting.
    void sayLater(const QByteArray& line) {
        m_said.append(line);
        if (!m_isEvents)
            sayAll();
        else if (!m_sayTimer.isActive())
            m_sayTimer.start(sayAfterMs);
    }

    void sayAll() {
        say(m_said.join('\n'));
        m_said.clear();
    }

    void beginToSend() {
        if (!isSender())
            return;
        m_hasBegun = true;
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(m_isEvents ? m_arguments.value(6).toInt() : batchMs);
    }

    void sendBatch() {
        const int count = m_arguments.value(5).toInt();
        for (int done = 0; done < (m_isEvents ? 1 : batch) && m_next < count; ++done, ++m_next) {
            const QVariantMap params{{"From", m_arguments.value(4)}, {"Number", m_next}, {"Time", nowUs()}};
            if (!m_carrier->send(params))
                say("refused");
        }
        if (m_next < count)
            return;
        m_timer.stop();
        // After what is on its way inside this process; an event's file is written a moment after its message.
        QTimer::singleShot(fileWriteMs, Qt::PreciseTimer, this, [] { say("sent"); });
    }

    void end() {
        m_carrier->stop();
        QThread::currentThread()->quit();
    }

    const QStringList m_arguments;
    const bool m_isEvents;
    std::unique_ptr<Carrier> m_carrier;
    InputThread m_input;
    QTimer m_timer;
    QTimer m_sayTimer;
    QByteArrayList m_said;
    bool m_hasBegun = false;
    int m_next = 0;
};

/// Does everything on a thread such as a product has for its events.
class HelperThread : public QThread {
    Q_OBJECT

protected:
    void run() override {
        Helper helper(QCoreApplication::arguments());
        QCoreApplication::exit(helper.start() ? exec() : 1);
    }
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    HelperThread thread;
    Util::useLeanDispatcher(thread, Util::ThreadServes::PostsAndTimers);
    thread.start();
    const int status = QCoreApplication::exec();
    thread.wait();
    return status;
}

#include "ipc_helper.moc"
