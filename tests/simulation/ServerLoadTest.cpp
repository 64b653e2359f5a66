#include "TestKit/Test.h"
#include "simulation/Library/SimProcess.h"
#include "simulation/TestMain.h"

using namespace Velquor;
using namespace Velquor::Simulation;

namespace {

constexpr qint64 minuteMs = 60000;

/// The products of one user who is signed in, each in a process of its own. Nothing is drawn: each day is the same.
class Day {
public:
    explicit Day(int products) {
        m_machine.usesOAuth2 = true;
        m_machine.habits = {0, 0, 1, 0, 0};
        start();
        pass(2);
        m_machine.isQuiet = true;
        while (int(m_processes.size()) < products)
            start();
    }
    ~Day() { m_world.endAll(); }

    void pass(int minutes) {
        const QString broken = m_world.run(minutes * minuteMs, std::numeric_limits<int>::max());
        QVERIFY2(broken.isEmpty(), qPrintable(broken));
    }
    void passOutage(int minutes, ServiceLine::Outage outage) {
        m_machine.line.outage = outage;
        m_machine.line.downUntilUs = m_world.nowUs() + minutes * minuteMs * 1000;
        pass(minutes);
    }
    [[nodiscard]] int requests(const QString& path) const {
        const auto found = m_machine.line.requests.find(path);
        return found == m_machine.line.requests.end() ? 0 : found->second;
    }
    [[nodiscard]] int requests() const {
        int sum = 0;
        for (const auto& count : m_machine.line.requests)
            sum += count.second;
        return sum;
    }
    [[nodiscard]] bool isSignedIn() const { return m_processes.front()->shownSignIn() > 0; }

private:
    void start() {
        const QByteArray number = QByteArray::number(int(m_processes.size()) + 1);
        m_processes.push_back(&m_world.keep(std::make_unique<SimProcess>(m_machine, 'P' + number, "product-" + number)));
    }

    Choices m_choices{Record()};
    World m_world{m_choices, {}};
    Machine m_machine{m_world};
    std::vector<SimProcess*> m_processes;
};

} // namespace

/// What the products of one user cost the account server: the figures of docs/operating.md.
class ServerLoadTest : public QObject {
    Q_OBJECT

private slots:
    void aDayOfTokensCostsWhatTheDocumentsSay() {
        const TestKit::Rows row([](int products, int accessTokens, int oauth2Tokens) {
            Day day(products);
            day.pass(24 * 60);
            QVERIFY(day.isSignedIn());
            QCOMPARE(day.requests("/oauth/request-token"), 1);
            QCOMPARE(day.requests("/oauth/access-token"), accessTokens);
            QCOMPARE(day.requests("/oauth2/token"), oauth2Tokens);
        });
        row("one product", 1, 27, 27);
        row("three products", 3, 81, 81);
        row("ten products", 10, 270, 270);
    }

    void anOutageCostsWhatTheDocumentsSay() {
        const TestKit::Rows row(
            [](int minutes, ServiceLine::Outage outage, int signedOutOfThirty, int mostDuring, int mostAfter) {
                int signedOut = 0;
                int during = 0;
                int after = 0;
                // It begins at any time of the life of a token.
                for (int phase = 0; phase < 60; phase += 2) {
                    Day day(3);
                    day.pass(60 + phase);
                    const int before = day.requests();
                    day.passOutage(minutes, outage);
                    during = std::max(during, day.requests() - before);
                    const int atEnd = day.requests();
                    day.pass(2);
                    after = std::max(after, day.requests() - atEnd);
                    signedOut += int(!day.isSignedIn());
                }
                qInfo("%d of 30 signed out, at most %d requests, then %d", signedOut, during, after);
                QCOMPARE(signedOut, signedOutOfThirty);
                QCOMPARE(during, mostDuring);
                QCOMPARE(after, mostAfter);
            });
        using Outage = ServiceLine::Outage;
        row("four minutes of 503", 4, Outage::Status503, 0, 20, 6);
        row("ten minutes of 503", 10, Outage::Status503, 3, 26, 6);
        row("half an hour of 503", 30, Outage::Status503, 13, 26, 6);
        row("an hour of 503", 60, Outage::Status503, 30, 26, 0);
        row("an hour of silence", 60, Outage::Silence, 0, 94, 6);
        row("an hour of refused connections", 60, Outage::RefusedConnections, 0, 196, 6);
    }
};

int main(int argumentCount, char** arguments) {
    return runTest<ServerLoadTest>(argumentCount, arguments);
}

#include "ServerLoadTest.moc"
