// A product that runs Qt itself, while the library behind the C interface may use another Qt: both are in one process.

#include "cinterface/Orders.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <thread>

namespace {

// The host's own network, with a header that the library has signed.
void fetch(QNetworkAccessManager& network, const vqws::Client& client, const std::string& url) {
    QNetworkRequest request(QUrl(QString::fromStdString(url)));
    request.setRawHeader("Authorization", QByteArray::fromStdString(*client.sign({url})));
    QNetworkReply* const reply = network.get(request);
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply] {
        Orders::say("fetch " + reply->readAll().replace('\n', ' ').toStdString());
        reply->deleteLater();
    });
}

void wake(void* application) {
    QMetaObject::invokeMethod(
        static_cast<QObject*>(application), [] { (void)vqws_dispatch(); }, Qt::QueuedConnection);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    QCoreApplication application(count, arguments);
    vqws_init_options options{};
    options.size = sizeof options;
    options.mode = std::string(arguments[2]) == "own" ? VQWS_MODE_OWN : VQWS_MODE_HOST;
    options.wake = wake;
    options.wake_user = &application;
    if (vqws_set_support_paths(arguments[1], VQWS_Z) != VQWS_OK)
        return 1;
    const vqws::Library library(options);
    const vqws::Registration events(vqws::Registration::EventFunction([](const vqws_event& event) {
        Orders::say("event " + std::to_string(event.kind));
        return 0;
    }));
    const vqws::Client client;
    if (!library.started() || !events.accepted() || !Orders::configure(client))
        return 1;
    QNetworkAccessManager network;
    QTimer::singleShot(0, [&client] { Orders::tell("start", client.restoreLogin(), ""); });
    std::thread input([&] {
        for (std::string line; std::getline(std::cin, line);) {
            QMetaObject::invokeMethod(&application, [&, line] {
                if (line.rfind("fetch ", 0) == 0)
                    fetch(network, client, line.substr(6));
                else if (!Orders::obey(client, line))
                    application.exit(3);
            });
        }
        QMetaObject::invokeMethod(&application, [&application] { application.exit(0); });
    });
    const int result = application.exec();
    input.join();
    return result;
}
