#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "TestKit/Platform/OutsideProgram.h"
#include "TestKit/Test.h"
#include "signing/RandomRequests.h"

#include <cstdio>

using namespace Velquor;

/// Signatures of random requests, checked by another implementation.
class RandomSigningTest : public QObject {
    Q_OBJECT

private slots:
    void anotherLibraryAcceptsEverySignature() {
        const QString python = QStringLiteral("/usr/bin/python3");
        const QString script = qEnvironmentVariable("VQ_SOURCE_DIR") + QStringLiteral("/tests/signing/check_signatures.py");
        if (!QFile::exists(python))
            QSKIP("Needs Python and oauthlib");
        QVERIFY(QFile::exists(script));
        bool isGiven = false;
        const uint given = qEnvironmentVariable("VQ_TEST_SEED").toUInt(&isGiven);
        const quint32 seed = isGiven ? given : QRandomGenerator::global()->generate();
        qInfo("Seed: %u (VQ_TEST_SEED repeats it)", seed);

        const OAuth::VqOAuthHost host(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
        TestKit::RandomRequests requests(host, seed);
        QTemporaryFile file;
        QVERIFY(file.open());
        for (int number = 0; number < 10000; ++number)
            file.write(QJsonDocument(requests.next()).toJson(QJsonDocument::Compact) + '\n');
        file.close();

        TestKit::OutsideProgram check;
        QVERIFY(check.start(python, {check.pathFor(script), check.pathFor(file.fileName())}));
        QVERIFY(check.waitForFinished(60000));
        const QByteArray said = check.output();
        if (check.exitCode() != 0)
            std::fputs(said.constData(), stderr); // longer than a message of a test may be
        QCOMPARE(said.trimmed(), QByteArray("10000 requests, 0 differences"));
    }
};

QTEST_GUILESS_MAIN(RandomSigningTest)
#include "RandomSigningTest.moc"
