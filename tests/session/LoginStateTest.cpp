// The decisions of the login session that need neither a file nor a network.

#include "Session/State/LoginState.h"
#include "Session/Operations/IdentityParameters.h"
#include "Session/State/MachineBinding.h"
#include "TestKit/Test.h"
#include "Tokens/TokenReply.h"
#include "Values/WebServicesConfigurationImp.h"

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

QDateTime at(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

} // namespace

class LoginStateTest : public QObject {
    Q_OBJECT

private slots:
    void aSignOutIsNotDatedBeforeItsSignIn() { QCOMPARE(logoutDateFor(at(900), at(1000)), at(1000)); }

    void theMachineAddressIsCutBetweenAdapters() {
        const Velquor::TestKit::Rows row([&](const QStringList& addresses, int limit, const QString& expected) {
            QCOMPARE(joinedMachineAddress(addresses, limit), expected);
        });
        row("none", {}, 245, {});
        row("duplicates go", QStringList{"aa", "bb", "aa"}, 245, "aa|bb");
        row("fits exactly", QStringList{"aa", "bb", "cc"}, 8, "aa|bb|cc");
        row("one byte too long drops a whole address", QStringList{"aa", "bb", "cc"}, 7, "aa|bb");
        row("the last one stays", QStringList{"aabbccddeeff"}, 3, "aabbccddeeff");
    }

    void oneCommonAdapterIsTheSameMachine() {
        const Velquor::TestKit::Rows row([&](const QString& stored, const QStringList& current, bool same) {
            QCOMPARE(isSameMachine(stored, current), same);
        });
        row("one in common is enough", "aa|bb|cc", QStringList{"xx", "cc"}, true);
        row("none in common", "aa|bb", QStringList{"cc"}, false);
        row("a part of an address is none", "aabb", QStringList{"aa"}, false);
        row("blank on a machine without adapters", "|", {}, true);
        row("blank on a machine with adapters", "|", QStringList{"aa"}, false);
        row("stored ones, adapters gone", "aa", {}, false);
    }

    // Every adapter is replaced over the years, one at a time.
    void replacedAdaptersAreLearnedOneByOne() {
        QStringList stored{"aa", "bb"};
        // A dock that is away for the day, and room for four.
        for (const QStringList& present :
             {QStringList{"bb", "cc"}, QStringList{"bb"}, QStringList{"dd", "cc"}, QStringList{"ee", "dd"}}) {
            QVERIFY(isSameMachine(stored.join('|'), present));
            stored = joinedMachineAddress(renewedAddresses(stored, present), 11).split('|');
        }
        QCOMPARE(stored, QStringList({"ee", "dd", "cc", "bb"}));
    }

    void onlyWholeSecondsAreAnExpiry() {
        const Velquor::TestKit::Rows row([&](const QByteArray& text, qint64 lifetime) {
            QCOMPARE(expiryFrom(text, at(1000)), lifetime < 0 ? QDateTime() : at(1000 + lifetime));
        });
        row("seconds", "3600", 3600);
        row("expired at once", "0", 0);
        for (const char* const bad : {"", "-1", "3600.5", "1e9", "99999999999", "9999999999999999999999", "soon", "36 00"})
            row(qPrintable(QStringLiteral("bad: %1").arg(QLatin1String(bad))), QByteArray(bad), -1);
    }

    void malformedTokensAreRefused() {
        const Velquor::TestKit::Rows row([&](const QByteArray& token, bool usable) { QCOMPARE(isUsableToken(token), usable); });
        row("Base64", "aB+/=", true);
        row("the longest", QByteArray(64 * 1024, 'x'), true);
        row("too long", QByteArray(64 * 1024 + 1, 'x'), false);
        row("empty", {}, false);
        row("a header in it", "abc\r\nX: y", false);
        row("blank", "a b", false);
        row("not ASCII", "a\xc3\xa4", false);
        row("NUL", QByteArray("a\0b", 3), false);
    }

    void sendsIdentityInOrderAndOnlyWhenSet() {
        WebServicesConfigurationImp configuration;
        const QUrl url("https://example.com/request");
        QCOMPARE(withIdentity(url, configuration), url);
        configuration.featureVersion = QStringLiteral("2 & 3");
        configuration.serialNumber = QString::fromUtf8("SN ä");
        configuration.upiBuild = QStringLiteral("77");
        QCOMPARE(
            withIdentity(url, configuration).toEncoded(),
            QByteArray(
                "https://example.com/request?x_oauth_vlqr_serial_number=SN%20%C3%A4&x_upi_build=77&x_feature_version=2%20%26%203"));
    }
};

QTEST_GUILESS_MAIN(LoginStateTest)
#include "LoginStateTest.moc"
