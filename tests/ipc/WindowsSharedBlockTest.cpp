#include "TestKit/Test.h"
#include "VqUtil/Locks/NamedSemaphore.h"
#include "VqUtil/ProcessState/SharedBlock.h"

using namespace Velquor::Util;
using Result = ISharedBlock::Result;

/// The object that other programs reach through QSharedMemory.
class WindowsSharedBlockTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_key = QStringLiteral("Velquor.Test.") + QUuid::createUuid().toString(QUuid::Id128); }

    void qtOpensOurBlock() {
        auto block = openSharedBlock(m_key, {});
        QCOMPARE(block->attach(), Result::Missing);
        QCOMPARE(block->create(65536), Result::Done);
        QVERIFY(block->write("ours"));
        QSharedMemory memory(m_key);
        QVERIFY2(memory.attach(), qPrintable(memory.errorString()));
        QCOMPARE(memory.size(), 65536);
        QVERIFY(memory.lock());
        QCOMPARE(QByteArray(static_cast<const char*>(memory.constData()), 5), QByteArray("ours\0", 5));
        QVERIFY(memory.unlock() && memory.detach());
        auto second = std::make_unique<QSharedMemory>(m_key);
        QVERIFY(!second->create(100));
        QCOMPARE(second->error(), QSharedMemory::AlreadyExists);
        second.reset();
        block.reset();
        QCOMPARE(openSharedBlock(m_key, {})->attach(), Result::Missing);
    }

    void weOpenTheBlockOfQt() {
        QSharedMemory memory(m_key);
        QVERIFY(memory.create(8192));
        auto block = openSharedBlock(m_key, {});
        QCOMPARE(block->create(65536), Result::AlreadyThere);
        QVERIFY(!block->isAttached());
        QCOMPARE(block->attach(), Result::Done);
        QCOMPARE(block->size(), 8192);
        QVERIFY(block->write("theirs") && block->startsWith("theirs") && !block->startsWith("others"));
        QVERIFY(qstrcmp(static_cast<const char*>(memory.constData()), "theirs") == 0);
    }

    // A program that died inside QSharedMemory::lock() never gives its count back.
    void theLockOfADeadProcessIsRepaired() {
        auto block = openSharedBlock(m_key, {});
        QCOMPARE(block->create(4096), Result::Done);
        QSystemSemaphore lock(m_key, 1);
        QVERIFY(lock.acquire());
        QVERIFY(block->write("on"));
        QVERIFY(block->startsWith("on"));
        QVERIFY(NamedSemaphore(m_key).acquire(0) == NamedSemaphore::Result::Acquired); // repaired once, not at every look
    }

private:
    QString m_key;
};

QTEST_GUILESS_MAIN(WindowsSharedBlockTest)
#include "WindowsSharedBlockTest.moc"
