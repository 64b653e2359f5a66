// The C interface, function by function: its results in every state of the library, and what it does with hostile arguments.

#include "CallTable.h"
#include "Platform/ForkedCall.h"
#include "TestKit/AccountServiceProcess.h"
#include "TestKit/Test.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QThread>
#include <VqWebServices/WebServicesManager.h>

using namespace Velquor;
using namespace Velquor::WebServices;

namespace {

constexpr char canary = 0x7e;
const QByteArray huge(2 * VQWS_TEXT_MAX, 'x');

struct HostileText {
    const char* data;
    size_t length;
    int32_t result;
};
const HostileText hostileTexts[] = {
    {nullptr, 1, VQWS_ARGUMENT},
    {nullptr, VQWS_Z, VQWS_ARGUMENT},
    {"\xff", 1, VQWS_TEXT},
    {"\xc0\x80", 2, VQWS_TEXT},
    {"\xed\xa0\x80", VQWS_Z, VQWS_TEXT},
    {"\xf4\x90\x80\x80", 4, VQWS_TEXT},
    {"\xe2\x82", VQWS_Z, VQWS_TEXT},
    {"a\0b", 3, VQWS_TEXT},
    {huge.constData(), size_t(huge.size()), VQWS_TOO_LONG},
    {huge.constData(), VQWS_Z, VQWS_TOO_LONG},
};

/// A call of a row, with a place for all that it may tell.
struct Called {
    explicit Called(const CallRow& row, const char* key = nullptr, size_t keyLength = 0, size_t capacity = 65536)
        : buffer(int(capacity) + 1, canary) {
        arguments = {key, keyLength, buffer.data(), capacity, &length, &number, &large};
        result = row.call(arguments);
    }

    CallArguments arguments;
    QByteArray buffer;
    size_t length = 77;
    int32_t number = 77;
    int64_t large = 77;
    int32_t result;
};

QByteArray lastError(int32_t* code = nullptr) {
    char text[4096];
    size_t length = 0;
    vqws_error error{sizeof error, 77, 77};
    if (vqws_last_error(&error, text, sizeof text, &length) != VQWS_OK || error.size != sizeof error)
        return "?";
    if (code)
        *code = error.code;
    return QByteArray(text, int(length));
}

// Checks too what `vqws_last_error` tells afterwards: the same result, a text for each failure, and none for a success.
void expectResult(int32_t result, int32_t expected) {
    QCOMPARE(result, expected);
    int32_t code = 77;
    const QByteArray text = lastError(&code);
    QCOMPARE(code, expected);
    QVERIFY2(text.isEmpty() == (expected == VQWS_OK), text.constData());
}

void expectNothingTold(const CallRow& row, const Called& called) {
    if (row.tells == CallRow::Text)
        QVERIFY(called.length == 0 && called.buffer[0] == 0);
    if (row.tells == CallRow::Number)
        QCOMPARE(called.number, 0);
    if (row.tells == CallRow::Large)
        QCOMPARE(called.large, int64_t(0));
}

vqws_init_options options(int32_t mode) {
    vqws_init_options made{};
    made.size = sizeof made;
    made.mode = mode;
    return made;
}

} // namespace

class CInterfaceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_service.start());
        const QByteArray folder = m_service.folder().toUtf8();
        QCOMPARE(vqws_set_support_paths(folder.constData(), size_t(folder.size())), VQWS_OK);
        // An earlier run may have ended with a user.
        char file[4096];
        size_t length = 0;
        QCOMPARE(vqws_get_login_state_file(file, sizeof file, &length), VQWS_OK);
        QFile::remove(QString::fromUtf8(file));
    }

    void everyFunctionHasARow() {
        const QByteArray list = TestKit::readFile(qEnvironmentVariable("VQ_SOURCE_DIR") + "/WebServicesCore/vqws.exports");
        QSet<QByteArray> missing;
        for (const QByteArray& line : list.split('\n')) {
            if (line.startsWith("vqws_"))
                missing += line.split(' ').first();
        }
        QVERIFY(missing.size() > 70);
        for (const CallRow& row : callTable())
            missing -= row.name;
        // These have tests of their own below.
        for (const char* const name : {"vqws_version", "vqws_last_error", "vqws_take_text", "vqws_init", "vqws_uninit",
                                       "vqws_set_event_hook", "vqws_remove_event_hook", "vqws_initiate_login", "vqws_logout",
                                       "vqws_complete_logout", "vqws_observe", "vqws_observe_log", "vqws_get_log_drops"})
            missing -= name;
        QVERIFY2(missing.isEmpty(), QByteArrayList(missing.values()).join(' ').constData());
        QCOMPARE(vqws_version(), uint32_t(VQWS_VERSION));
    }

    void beforeTheStart() {
        for (const CallRow& row : callTable())
            expectRow(row, row.early, nullptr, 0);
        QCOMPARE(vqws_uninit(), VQWS_STATE);
        QCOMPARE(vqws_complete_logout(nullptr, 0), VQWS_STATE);
    }

    void theLifeIsCounted() {
        vqws_init_options wrong = options(7);
        QCOMPARE(vqws_init(&wrong), VQWS_ARGUMENT);
        wrong = options(VQWS_MODE_HOST);
        wrong.size = 8;
        QCOMPARE(vqws_init(&wrong), VQWS_ARGUMENT);
        wrong.size = sizeof wrong;
        wrong.reserved = 1;
        QCOMPARE(vqws_init(&wrong), VQWS_UNSUPPORTED);
        // A program of a later version: what it sets that is not known here must not be ignored.
        struct {
            vqws_init_options known;
            uint64_t unknown;
        } later{options(VQWS_MODE_HOST), 1};
        later.known.size = sizeof later;
        QCOMPARE(vqws_init(&later.known), VQWS_UNSUPPORTED);
        later.unknown = 0;
        const vqws_init_options own = options(VQWS_MODE_OWN);
        QCOMPARE(vqws_init(&own), VQWS_STATE); // Qt runs here.
        QCOMPARE(vqws_init(&later.known), VQWS_OK);
        QCOMPARE(vqws_init(nullptr), VQWS_OK);
        QCOMPARE(vqws_init(&own), VQWS_STATE);
        int32_t elsewhere = VQWS_OK;
        int32_t dispatched = VQWS_OK;
        QCOMPARE(vqws_uninit(), VQWS_OK);
        std::thread([&] {
            elsewhere = vqws_uninit();
            dispatched = vqws_dispatch();
        }).join();
        QCOMPARE(elsewhere, VQWS_WRONG_THREAD);
        QCOMPARE(dispatched, VQWS_WRONG_THREAD);
        // One library for both interfaces.
        QVERIFY(WebServicesManager::IsInitialized());
        QVERIFY(WebServicesManager::Uninitialize() && vqws_uninit() == VQWS_OK);
        QCOMPARE(vqws_uninit(), VQWS_STATE);
        QVERIFY(!WebServicesManager::IsInitialized());
        QCOMPARE(vqws_init(nullptr), VQWS_OK);
    }

    void beforeTheSignIn() {
        expectAll(&CallRow::idle);
        QCOMPARE(vqws_logout(nullptr, 0), VQWS_NOT_SIGNED_IN);
        QCOMPARE(vqws_set_proxy_login("h", 1, 8080, "u", 1, "p", 1), VQWS_OK);
        char text[9];
        size_t length = 0;
        QCOMPARE(vqws_get_proxy_password("h", 1, -1, text, sizeof text, &length), VQWS_OK);
        QCOMPARE(text, "p");
        QCOMPARE(vqws_clear_proxy(), VQWS_OK);
    }

    // The service is asked once, however small the buffer is.
    void signsIn() {
        char small[2] = {canary, canary};
        size_t length = 0;
        QVERIFY(m_service.addFault("request-token", "status", {{"status", 403}}));
        QCOMPARE(vqws_initiate_login(nullptr, 0, nullptr, 0, small, 0, &length), VQWS_REFUSED);
        vqws_error error{sizeof error, 0, 0};
        QCOMPARE(vqws_last_error(&error, small, 0, &length), VQWS_BUFFER);
        QVERIFY(error.http_status == 403 && length > 20);
        const int before = m_service.requests("request-token");
        small[0] = canary;
        QCOMPARE(vqws_initiate_login(nullptr, 0, nullptr, 0, small, 1, &length), VQWS_BUFFER);
        QVERIFY(small[0] == 0 && small[1] == canary && length > 100);
        QCOMPARE(vqws_take_text(small, 2, &length), VQWS_BUFFER);
        QByteArray url(int(length) + 1, canary);
        QCOMPARE(vqws_take_text(url.data(), size_t(url.size()), &length), VQWS_OK);
        url.chop(1);
        QCOMPARE(int(length), url.size());
        QCOMPARE(vqws_take_text(small, 2, &length), VQWS_NOT_FOUND);
        QCOMPARE(m_service.requests("request-token"), before + 1);
        QVERIFY(m_service.approve(url));
        const char* const cookies =
            "{\"Cookies\":[{\"Name\":\"n\",\"Value\":\"v\",\"Domain\":\"example.com\",\"Path\":\"/\",\"Secure\":true,\"HttpOnly\":false,\"ExpiryDate\":0}]}";
        QCOMPARE(vqws_complete_login(nullptr, 0, cookies, VQWS_Z), VQWS_OK);
        QVERIFY(WebServicesManager::GetInstance()->IsLoggedIn());
    }

    void afterTheSignIn() {
        expectAll(&CallRow::known);
        for (const CallRow& row : callTable())
            expectRow(row, QByteArray(row.name) == "vqws_set_config" ? VQWS_TEXT : row.unknown,
                      QByteArray(row.name) == "vqws_set_config" ? "\xff" : "nobody", row.hasKey ? VQWS_Z : 0);
        const auto isSetConfig = [](const CallRow& row) { return QByteArray(row.name) == "vqws_set_config"; };
        expectRow(*std::find_if(callTable().begin(), callTable().end(), isSetConfig), VQWS_OK, "other key", VQWS_Z);
        expectAll(&CallRow::known, "other key");
    }

    void takesHostileArguments() {
        for (const CallRow& row : callTable()) {
            if (row.known != VQWS_OK)
                continue;
            for (const HostileText& hostile : hostileTexts) {
                Called called(row, hostile.data, hostile.length);
                if (row.hasKey)
                    QVERIFY2(called.result == hostile.result, row.name);
                if (row.takesText) {
                    called.arguments.key = nullptr;
                    called.arguments.keyLength = 0;
                    called.arguments.hasText = true;
                    called.arguments.text = hostile.data;
                    called.arguments.textLength = hostile.length;
                    QVERIFY2(row.call(called.arguments) == hostile.result, row.name);
                }
            }
            CallArguments nothing;
            nothing.buffer = nullptr;
            if (row.tells != CallRow::Nothing)
                QVERIFY2(row.call(nothing) == VQWS_ARGUMENT, row.name);
            size_t length = 77;
            nothing.length = &length;
            nothing.capacity = 5;
            if (row.tells == CallRow::Text)
                QVERIFY2(row.call(nothing) == VQWS_ARGUMENT && length == 77, row.name);
        }
        QCOMPARE(vqws_sign_request(nullptr, 0, nullptr, nullptr, 0, nullptr), VQWS_ARGUMENT);
        QCOMPARE(vqws_set_config(nullptr, 0, nullptr), VQWS_ARGUMENT);
        char text[64];
        size_t length = 0;
        vqws_request request{};
        for (const auto& [size, reserved, count, url, expected] :
             {std::tuple(0U, 0, size_t(0), "https://example.com/", VQWS_ARGUMENT),
              {uint32_t(sizeof request), 1, 0, "https://example.com/", VQWS_UNSUPPORTED},
              {uint32_t(sizeof request), 0, 1, "https://example.com/", VQWS_ARGUMENT},
              {uint32_t(sizeof request), 0, SIZE_MAX, "https://example.com/", VQWS_ARGUMENT},
              {uint32_t(sizeof request), 0, 0, "no url", VQWS_ARGUMENT}}) {
            request.size = size;
            request.reserved = reserved;
            request.param_count = count;
            request.url = {url, VQWS_Z};
            expectResult(vqws_sign_request(nullptr, 0, &request, text, sizeof text, &length), expected);
        }
    }

    void buffersOfAnySize() {
        for (const CallRow& row : callTable()) {
            const Called whole(row);
            if (row.tells != CallRow::Text || whole.result != VQWS_OK || whole.length == 0)
                continue;
            QVERIFY2(whole.buffer[int(whole.length)] == 0, row.name);
            for (const size_t capacity : {size_t(0), size_t(1), whole.length, whole.length + 1}) {
                const Called called(row, nullptr, 0, capacity);
                const bool isTruncated = capacity <= called.length;
                QVERIFY2(called.result == (isTruncated ? VQWS_BUFFER : VQWS_OK), row.name);
                QVERIFY2(called.buffer[int(capacity)] == canary && (capacity == 0 || !isTruncated || called.buffer[0] == 0),
                         row.name);
            }
        }
    }

    void aKeptTextIsWipedByTheNextCall() {
        size_t length = 0;
        char text[200];
        QCOMPARE(vqws_get_user_name(nullptr, 0, text, 1, &length), VQWS_BUFFER);
        std::thread([&] { QCOMPARE(vqws_take_text(text, sizeof text, &length), VQWS_NOT_FOUND); }).join();
        QCOMPARE(vqws_dispatch(), VQWS_OK);
        QCOMPARE(vqws_take_text(text, sizeof text, &length), VQWS_NOT_FOUND);
    }

    // What another thread does, and what a call inside a callback does, is not told here.
    void theLastErrorBelongsToTheThread() {
        QCOMPARE(vqws_disable_oauth2("nobody", VQWS_Z), VQWS_UNKNOWN_CLIENT);
        std::thread([] {
            QCOMPARE(lastError(), QByteArray());
            QCOMPARE(vqws_add_plugin_path(nullptr, 0), VQWS_ARGUMENT);
        }).join();
        QCOMPARE(lastError(), QByteArray("Client info not found for client key nobody."));
        vqws_error shorter{8, 77, 77};
        char text[99];
        size_t length = 0;
        QCOMPARE(vqws_last_error(&shorter, text, sizeof text, &length), VQWS_OK);
        QVERIFY(shorter.size == 8 && shorter.code == VQWS_UNKNOWN_CLIENT && shorter.http_status == 77);
    }

    void aForkedChildHasNoLibrary() {
        const int rows = int(callTable().size());
        const auto failedRow = [] {
            for (size_t index = 0; index < callTable().size(); ++index) {
                if (Called(callTable()[index]).result != VQWS_STATE)
                    return int(index);
            }
            return int(callTable().size());
        };
        const int failed = resultInForkedChild(failedRow, rows);
        QVERIFY2(failed == rows, failed >= 0 && failed < rows ? callTable()[size_t(failed)].name : "it did not end");
    }

    // Random calls on several threads, also with the wrong arguments. The numbers show what was called.
    void survivesRandomCalls() {
        const quint32 seed =
            qEnvironmentVariableIntValue("VQ_FUZZ_SEED") > 0 ? quint32(qEnvironmentVariableIntValue("VQ_FUZZ_SEED")) : 1;
        constexpr int threadCount = 4;
        const int calls = TestKit::rounds(20000, 1000000) / threadCount;
        std::atomic<int> done{0};
        std::atomic<int> refused{0};
        const auto work = [&](quint32 ownSeed) {
            QRandomGenerator random(ownSeed);
            for (int count = 0; count < calls; ++count) {
                refused += randomCall(random) != VQWS_OK;
                ++done;
            }
        };
        std::vector<std::thread> threads;
        for (quint32 thread = 1; thread < threadCount; ++thread)
            threads.emplace_back(work, seed * 100 + thread);
        work(seed * 100);
        // They may wait for an answer that the event thread gives.
        for (const QDeadlineTimer limit(TestKit::rounds(120000, 1500000)); done < calls * threadCount && !limit.hasExpired();
             QThread::msleep(1))
            (void)vqws_dispatch();
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(done.load(), calls * threadCount);
        QVERIFY(refused > done / 10 && refused < done);
        TestKit::figure("random calls of the C interface", "no crash", QStringLiteral("%1, %2 refused").arg(done).arg(refused));
    }

    void afterTheEnd() {
        QCOMPARE(vqws_complete_logout("no such", VQWS_Z), VQWS_UNKNOWN_CLIENT);
        QCOMPARE(vqws_logout(nullptr, 0), VQWS_OK);
        QCOMPARE(vqws_complete_logout(nullptr, 0), VQWS_NOT_SIGNED_IN);
        QCOMPARE(vqws_uninit(), VQWS_OK);
        for (const CallRow& row : callTable())
            expectRow(row, row.early, nullptr, 0);
    }

private:
    static void expectRow(const CallRow& row, int32_t expected, const char* key, size_t keyLength) {
        const Called called(row, row.hasKey ? key : nullptr, row.hasKey ? keyLength : 0);
        QVERIFY2(
            called.result == expected,
            qPrintable(
                QStringLiteral("%1: %2, not %3: %4").arg(row.name).arg(called.result).arg(expected).arg(QString(lastError()))));
        expectResult(called.result, expected);
        if (called.result != VQWS_OK)
            expectNothingTold(row, called);
    }

    static void expectAll(int32_t CallRow::*expected, const char* key = nullptr) {
        for (const CallRow& row : callTable()) {
            expectRow(row, row.*expected, key, key ? VQWS_Z : 0);
            const Called called(row, row.hasKey ? key : nullptr, row.hasKey && key ? VQWS_Z : 0);
            if (expected != &CallRow::known || called.result != VQWS_OK)
                continue;
            if (row.number >= 0)
                QVERIFY2((row.tells == CallRow::Large ? called.large : called.number) == row.number, row.name);
            if (row.tells == CallRow::Text)
                QVERIFY2(called.buffer.startsWith(row.begins), (row.name + (": " + called.buffer.left(80))).constData());
        }
    }

    static int32_t randomCall(QRandomGenerator& random) {
        const std::vector<CallRow>& table = callTable();
        const CallRow& row = table[random.bounded(quint32(table.size()))];
        const HostileText& text = hostileTexts[random.bounded(quint32(std::size(hostileTexts)))];
        const char* const keys[] = {nullptr, "nobody", "other key", text.data};
        const quint32 which = random.bounded(4U);
        char buffer[300];
        size_t length = 0;
        int32_t number = 0;
        int64_t large = 0;
        CallArguments arguments{keys[which],
                                which == 0   ? 0
                                : which == 3 ? text.length
                                             : VQWS_Z,
                                buffer,
                                random.bounded(300U),
                                random.bounded(9U) == 0 ? nullptr : &length,
                                &number,
                                &large};
        arguments.hasText = random.bounded(3U) == 0;
        arguments.text = text.data;
        arguments.textLength = text.length;
        const int32_t result = row.call(arguments);
        if (random.bounded(4U) == 0)
            (void)vqws_take_text(buffer, random.bounded(300U), &length);
        if (random.bounded(4U) == 0)
            (void)vqws_last_error(nullptr, buffer, random.bounded(300U), &length);
        return result;
    }

    TestKit::AccountServiceProcess m_service;
};

QTEST_GUILESS_MAIN(CInterfaceTest)
#include "CInterfaceTest.moc"
