#include "VqUtil/Files/AtomicFile.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/Test.h"
#include "VqUtil/Files/FileAccess.h"

using namespace Velquor::Util;
using AtomicFile::ReadResult;

class AtomicFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void readsBoundedFilesOnly() {
        // size: of the file; -1: none is made
        const Velquor::TestKit::Rows row(this, [&](const QString& name, int size, ReadResult::Status status) {
            if (size >= 0)
                put(m_folder->filePath(name), QByteArray(size, 'x'));
            const ReadResult result = AtomicFile::read(m_folder->filePath(name), 100);
            QCOMPARE(result.status, status);
            QCOMPARE(result.error.isEmpty(), result.status != ReadResult::Status::Failed);
            QCOMPARE(result.data.size(), result.status == ReadResult::Status::Read ? size : 0);
        });
        row("missing", "file", -1, ReadResult::Status::Missing);
        row("missing folder", "no/such/file", -1, ReadResult::Status::Missing);
        row("empty", "file", 0, ReadResult::Status::Read);
        row("as large as allowed", "file", 100, ReadResult::Status::Read);
        row("too large", "file", 101, ReadResult::Status::Failed);
        row("folder", ".", -1, ReadResult::Status::Failed);
    }

    void aWriteReplacesTheWholeFile() {
        for (const QByteArray& data :
             {QByteArray("first, a long one"), QByteArray(), QByteArray(1024 * 1024, '\0'), QByteArray("last")}) {
            QVERIFY(AtomicFile::write(path(), data));
            QCOMPARE(AtomicFile::read(path(), 2 * 1024 * 1024).data, data);
        }
        QCOMPARE(files(), QStringList("State.xml"));
    }

    void readersSeeOldOrNew() {
        QVERIFY(AtomicFile::write(path(), QByteArray(50000, 'a')));
        std::atomic<bool> isOver{false};
        std::atomic<int> torn{0};
        std::thread reader([&] {
            while (!isOver) {
                const ReadResult result = AtomicFile::read(path(), 100000);
                const bool isWhole = result.data.size() == 50000 && result.data.count(result.data.at(0)) == 50000;
                const bool isRefused = result.status == ReadResult::Status::Failed && !Velquor::TestKit::openFilesCanBeReplaced();
                torn += !isWhole && !isRefused;
                // A reader that never pauses would keep the writer out where an open file cannot be replaced.
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        int failed = 0;
        for (int round = 0; round < 200; ++round)
            failed += !AtomicFile::write(path(), QByteArray(50000, static_cast<char>('a' + round % 26)));
        isOver = true;
        reader.join();
        QCOMPARE(failed, 0);
        QCOMPARE(torn.load(), 0);
    }

    void failureKeepsTheOld() {
        const Velquor::TestKit::Rows row(this, [&](const QString& name) {
            QVERIFY(QDir(m_folder->path()).mkpath("folder/inside"));
            const Result<void> written = AtomicFile::write(m_folder->filePath(name), "new");
            QVERIFY(!written && !written.reason().isEmpty());
            QCOMPARE(files(), QStringList());
            QVERIFY(QFileInfo(m_folder->filePath("folder/inside")).isDir());
        });
        row("missing folder", "no/such/State.xml");
        row("a folder is in the way", "folder");
        row("no name is left for the temporary", QString(250, QLatin1Char('n')));
    }

    void removesOnlyItsTemporaries() {
        for (const char* const name :
             {"State.xml", "State.xml.writing-1", ".State.xml.writing-2", "Other.xml.writing-1", "State.xml.damaged-1"})
            put(path(name), "x");
        AtomicFile::removeStaleTemporaries(path());
        QCOMPARE(files(), QStringList({".State.xml.writing-2", "Other.xml.writing-1", "State.xml", "State.xml.damaged-1"}));
        AtomicFile::removeStaleTemporaries(path("no/such/file"));
    }

    void keepsTheLatestThreeDamagedFiles() {
        QCOMPARE(AtomicFile::setAside(path()), QString());
        for (int number = 1; number <= 5; ++number) {
            put(path(), QByteArray::number(number));
            QCOMPARE(AtomicFile::setAside(path()), path("State.xml.damaged-1"));
        }
        QCOMPARE(files(), QStringList({"State.xml.damaged-1", "State.xml.damaged-2", "State.xml.damaged-3"}));
        QCOMPARE(AtomicFile::read(path("State.xml.damaged-1"), 9).data, QByteArray("5"));
        QCOMPARE(AtomicFile::read(path("State.xml.damaged-3"), 9).data, QByteArray("3"));
    }

    void everyReplacementChangesTheStamp() {
        QVERIFY(fileStamp(path()) == FileStamp());
        put(path(), "one");
        const FileStamp first = fileStamp(path());
        QVERIFY(first != FileStamp() && first == fileStamp(path()));
        // A replacement of the same size in the same instant is another content.
        for (int round = 0; round < 20; ++round) {
            const FileStamp before = fileStamp(path());
            QVERIFY(AtomicFile::write(path(), "two"));
            QVERIFY(fileStamp(path()) != before);
        }
    }

    void foldersAreClosedToOthers() {
        QVERIFY(!ensureOwnerOnlyFolder(QString()));
        put(path("file"), "x");
        QVERIFY(!ensureOwnerOnlyFolder(path("file")));
        QVERIFY(!ensureOwnerOnlyFolder(path("file/below")));
        QVERIFY(ensureOwnerOnlyFolder(path("a/b/c")) && ensureOwnerOnlyFolder(path("a/b/c")));
        QVERIFY(Velquor::TestKit::isOwnerOnly(path("a/b/c")));
        QVERIFY(!claimFolder(path("file")) && claimFolder(path("a/claimed")) && claimFolder(path("a/claimed")));
        QVERIFY(Velquor::TestKit::isOwnerOnly(path("a/claimed")));
        // One that was there before, with the rights that its parent hands down.
        QVERIFY(QDir(path("a")).mkdir("open") && !Velquor::TestKit::isOwnerOnly(path("a/open")));
        QVERIFY(ensureOwnerOnlyFolder(path("a/open")) && Velquor::TestKit::isOwnerOnly(path("a/open")));
        QVERIFY(QFileInfo(path("a/b/c")).isDir());
    }

private:
    [[nodiscard]] QString path(const char* name = "State.xml") const { return m_folder->filePath(QLatin1String(name)); }
    [[nodiscard]] QStringList files() const { return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    void put(const QString& name, const QByteArray& data) const { QVERIFY(Velquor::TestKit::writeFile(name, data)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(AtomicFileTest)
#include "AtomicFileTest.moc"
