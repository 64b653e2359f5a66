#include "Network/NetworkOperation.h"
#include "NetworkFixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Velquor::TestKit::answer;

/// Downloads into a file, from a scripted server on loopback.
class DownloadTest : public TestKit::NetworkFixture {
    Q_OBJECT

private Q_SLOTS:
    void init() { startOver(); }

    void aDownloadReplacesItsFileOrLeavesIt() {
        // target: %1 is the test's folder
        const TestKit::Rows row(this, [&](const QByteArray& bytes, const QString& target, int result, const QString& message) {
            const QTemporaryDir folder;
            const QString readOnly = folder.filePath("read-only");
            QVERIFY(TestKit::writeFile(readOnly, "old"));
            QFile::setPermissions(readOnly, QFileDevice::ReadOwner);
            QVERIFY(QDir(folder.path()).mkdir("folder"));
            m_server.setScript(page, {bytes});
            const QString path = target.arg(folder.path());

            auto operation = std::make_unique<NetworkOperation>(nullptr, m_logger);
            QSignalSpy ends(operation.get(), &NetworkOperation::RequestFinished);
            QSignalSpy progress(operation.get(), &NetworkOperation::DownloadProgress);
            operation->StartOperation(request(), path, nullptr);
            QTRY_COMPARE(ends.count(), 1);
            QCOMPARE(int(operation->result()), result);
            QCOMPARE(operation->errorMessage(), message.contains("%1") ? message.arg(folder.path()) : message);
            const QString temporary = path + QStringLiteral(".vqdownload");
            QVERIFY(!QFile::exists(temporary));
            if (QFileInfo(path).dir().exists()) {
                QVERIFY(TestKit::writeFile(temporary, "another operation's"));
                operation.reset();
                QVERIFY(QFile::exists(temporary));
            }
            if (result == 0) {
                QCOMPARE(TestKit::readFile(path), bytes.mid(bytes.indexOf("\r\n\r\n") + 4));
                QVERIFY(progress.count() > 0);
            } else {
                QCOMPARE(TestKit::readFile(readOnly), QByteArray("old"));
                QVERIFY(QFileInfo(folder.filePath("folder")).permissions() & QFileDevice::ExeOwner);
            }
        });
        const QByteArray big(3000000, 'd');
        row("new file", answer("200 OK", "data"), "%1/new", 0, "");
        row("larger than a body in memory", answer("200 OK", big + big), "%1/new", 0, "");
        row("read-only file", answer("200 OK", "data"), "%1/read-only", 0, "");
        row("without length", "HTTP/1.1 200 OK\r\n\r\ndata", "%1/read-only", 1,
            "Size check failed. Expected size: 0. Actual size: 4");
        row("nothing arrived", answer("200 OK", ""), "%1/new", 1, "Downloaded temp file doesn't exist");
        row("no folder", answer("200 OK", "data"), "%1/none/new", 2,
            "Operation was canceled. Failed to open temp local file %1/none/new.vqdownload for download.");
        row("a folder in its place", answer("200 OK", "data"), "%1/folder", 1, "Failed to delete download file %1/folder");
        row("not found", answer("404 Not Found", "data"), "%1/read-only", 1, faultText(203, 404, "Not Found"));
        row("redirect", answer("302 Found", "page", "Location: /x\r\n"), "%1/read-only", 1, faultText(0, 302, "Found"));
    }

    void downloadTimeLimitCountsFromTheLastProgress() {
        const QTemporaryDir folder;
        const QString path = folder.filePath("new");
        const QByteArray data(40, 'd');
        const QByteArray slow = answer("200 OK", data);
        m_server.setScript("/slow", {slow, 0, 0, 20, false, int(slow.size() - data.size())});
        m_server.setScript("/stalls", {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ndata", 0, 0, 0, false});
        NetworkOperation operation(nullptr, m_logger);
        QSignalSpy ends(&operation, &NetworkOperation::RequestFinished);
        operation.setDownloadTimeout(500);
        operation.StartOperation(request("/slow"), path, nullptr);
        QTRY_COMPARE_WITH_TIMEOUT(ends.count(), 1, 20000);
        QCOMPARE(operation.errorMessage(), QString());
        QCOMPARE(TestKit::readFile(path), data);

        operation.setDownloadTimeout(150);
        operation.StartOperation(request("/stalls"), path, nullptr);
        QTRY_COMPARE(ends.count(), 2);
        QCOMPARE(operation.result(), OperationResult::Canceled);
        QCOMPARE(operation.errorMessage(), QStringLiteral("Operation was canceled. Timed out."));
        QCOMPARE(TestKit::readFile(path), data);
        QVERIFY(!QFile::exists(path + QStringLiteral(".vqdownload")));
    }
};

QTEST_GUILESS_MAIN(DownloadTest)
#include "DownloadTest.moc"
