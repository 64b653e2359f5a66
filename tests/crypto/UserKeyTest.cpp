#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <sys/stat.h>

using namespace Velquor;
using namespace Velquor::Util;

/// The file that holds the user's key. Run with "encrypt FOLDER" the program is one of the processes of its own test.
class UserKeyTest : public QObject {
    Q_OBJECT

private slots:
    void processesThatStartTogetherShareOneKey() {
        const TestKit::Rows row([&](const QByteArray& before) {
            const QTemporaryDir folder;
            if (!before.isEmpty()) {
                QFile file(keyFile(folder));
                QVERIFY(file.open(QIODevice::WriteOnly) && file.write(before) > 0);
            }
            std::vector<std::unique_ptr<QProcess>> processes;
            for (int number = 0; number < 8; ++number) {
                processes.push_back(std::make_unique<QProcess>());
                processes.back()->start(QCoreApplication::applicationFilePath(), {"encrypt", folder.path()});
            }
            std::vector<std::shared_ptr<IRsaCryptor>> opened(8);
            std::vector<std::thread> threads;
            for (auto& cryptor : opened)
                threads.emplace_back([&cryptor, &folder, this] { cryptor = openUserRsaCryptor(folder.path(), m_logger); });
            for (auto& thread : threads)
                thread.join();
            // Each one can read what every other one wrote: there is one key.
            std::vector<QByteArray> blocks;
            for (const auto& process : processes) {
                QVERIFY(process->waitForFinished(30000));
                QCOMPARE(process->exitCode(), 0);
                blocks.push_back(QByteArray::fromBase64(process->readAllStandardOutput().trimmed()));
            }
            for (const auto& cryptor : opened)
                blocks.push_back(cryptor->encryptBlock("secret"));
            for (const auto& cryptor : opened) {
                for (const QByteArray& block : blocks)
                    QCOMPARE(cryptor->decryptBlock(block).view(), QByteArray("secret"));
            }
            QStringList expected{"UserKey.lock", "UserKey.pem"};
            if (!before.isEmpty())
                expected += QStringLiteral("UserKey.pem.damaged-1");
            QCOMPARE(QDir(folder.path()).entryList(QDir::Files, QDir::Name), expected);
        });
        row("a new machine", {});
        row("a damaged key", "damaged");
    }

    void isForTheOwnerOnly() {
        const QTemporaryDir parent;
        const QString folder = parent.filePath("a/b");
        const mode_t before = ::umask(0);
        const auto key = openUserRsaCryptor(folder, m_logger);
        ::umask(before);
        QVERIFY(key->blockSize() > 0);
        struct stat info {};
        QCOMPARE(::stat(QFile::encodeName(folder + QStringLiteral("/UserKey.pem")).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0600);
        QCOMPARE(::stat(QFile::encodeName(folder).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0700);
        QFile file(folder + QStringLiteral("/UserKey.pem"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("ENCRYPTED PRIVATE KEY"));
    }

    void aDamagedKeyIsSetAside() {
        // kept: bytes of a good key file
        const TestKit::Rows row([&](int kept, const QByteArray& added) {
            const QTemporaryDir folder;
            const QByteArray old = openUserRsaCryptor(folder.path(), m_logger)->encryptBlock("old");
            QFile file(keyFile(folder));
            QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(kept) && file.seek(kept) && file.write(added) == added.size());
            file.close();
            m_logger->clear();
            const auto fresh = openUserRsaCryptor(folder.path(), m_logger);
            QCOMPARE(m_logger->texts().size(), 1);
            QCOMPARE(m_logger->texts(Log::Level::Warning).size(), 1);
            QCOMPARE(QFileInfo(keyFile(folder) + QStringLiteral(".damaged-1")).size(), qint64(kept + added.size()));
            QVERIFY(fresh->decryptBlock(old).isEmpty());
            const QByteArray block = fresh->encryptBlock("new");
            QCOMPARE(openUserRsaCryptor(folder.path(), m_logger)->decryptBlock(block).view(), QByteArray("new"));
        });
        row("empty", 0, {});
        row("one byte", 0, "x");
        row("half", 900, {});
        row("far too large", 0, QByteArray(70000, 'A'));
        row("NUL", 0, QByteArray(2000, '\0'));
        row("a byte changed", 600, QByteArray("!" + QByteArray(1000, 'A')));
    }

    // What cannot be read for now must still be there when it can be read again.
    void unreadableIsNotDamaged() {
        const QTemporaryDir folder;
        const QByteArray block = openUserRsaCryptor(folder.path(), m_logger)->encryptBlock("secret");
        QVERIFY(QFile::rename(keyFile(folder), folder.filePath("kept")));
        QVERIFY(QDir(folder.path()).mkdir("UserKey.pem"));
        m_logger->clear();
        QCOMPARE(openUserRsaCryptor(folder.path(), m_logger)->blockSize(), 0);
        QCOMPARE(m_logger->texts(Log::Level::Error).size(), 1);
        QVERIFY(QDir(folder.path()).rmdir("UserKey.pem"));
        QVERIFY(QFile::rename(folder.filePath("kept"), keyFile(folder)));
        QCOMPARE(openUserRsaCryptor(folder.path(), m_logger)->decryptBlock(block).view(), QByteArray("secret"));
    }

    void aFolderThatCannotBeWrittenGivesNoKey() {
        m_logger->clear();
        QCOMPARE(openUserRsaCryptor("/proc/self/vq", m_logger)->blockSize(), 0);
        QCOMPARE(openUserRsaCryptor(QString(), m_logger)->blockSize(), 0);
        QCOMPARE(m_logger->texts(Log::Level::Error).size(), 2);
    }

private:
    [[nodiscard]] static QString keyFile(const QTemporaryDir& folder) { return folder.filePath("UserKey.pem"); }

    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
};

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "encrypt") == 0) {
        const auto logger = std::make_shared<TestKit::RecordingLogger>();
        const QByteArray block = openUserRsaCryptor(QString::fromLocal8Bit(argv[2]), logger)->encryptBlock("secret");
        std::puts(block.toBase64().constData());
        return block.isEmpty() ? 1 : 0;
    }
    UserKeyTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "UserKeyTest.moc"
