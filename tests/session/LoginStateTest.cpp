// The decisions of the login session that need neither a file nor a network.

#include "Session/State/LoginState.h"
#include "Session/Operations/IdentityParameters.h"
#include "Session/State/MachineBinding.h"
#include "Tokens/TokenReply.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QtTest>

Q_DECLARE_METATYPE(Velquor::WebServices::Internal::BasicLoginState)

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

QDateTime at(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

BasicLoginState signIn(const QString& user, qint64 seconds) {
    BasicLoginState state;
    state.clientId = "encrypted";
    state.userId = user;
    state.userName = user;
    state.loginDate = seconds < 0 ? QDateTime() : at(seconds);
    return state;
}

} // namespace

class LoginStateTest : public QObject {
    Q_OBJECT

private slots:
    void comparesSignIns_data() {
        QTest::addColumn<BasicLoginState>("inFile");
        QTest::addColumn<qint64>("logout");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* name, const BasicLoginState& inFile, qint64 logout, StateOrigin expected) {
            QTest::newRow(name) << inFile << logout << static_cast<int>(expected);
        };
        row("the same sign-in", signIn("ada", 100), 50, StateOrigin::Same);
        row("an empty file", {}, 0, StateOrigin::Same);
        row("signed out before this sign-in", {}, 99, StateOrigin::Same);
        row("signed out in the same second", {}, 100, StateOrigin::SignedOutElsewhere);
        row("signed out later", {}, 101, StateOrigin::SignedOutElsewhere);
        row("another user later", signIn("bob", 101), 0, StateOrigin::SignedInElsewhere);
        row("another user in the same second", signIn("bob", 100), 0, StateOrigin::SignedInElsewhere);
        row("another user earlier", signIn("bob", 99), 0, StateOrigin::Older);
        row("another user, nobody knows when", signIn("bob", -1), 0, StateOrigin::Older);
        row("the same user again later", signIn("ada", 101), 100, StateOrigin::SignedInElsewhere);
    }

    void comparesSignIns() {
        QFETCH(BasicLoginState, inFile);
        QFETCH(qint64, logout);
        QFETCH(int, expected);
        const QDateTime logoutDate = logout > 0 ? at(logout) : QDateTime();
        QCOMPARE(static_cast<int>(compareSignIns(signIn("ada", 100), inFile, logoutDate)), expected);
    }

    // Within one second: sign in, sign out, sign in again. Each must be told from the one before.
    void keepsSignInAndSignOutApart() {
        const QDateTime now = at(1000).addMSecs(900);
        const QDateTime first = loginDateAfter(now, QDateTime());
        const QDateTime out = logoutDateFor(now, first);
        const QDateTime second = loginDateAfter(now, out);
        QVERIFY(out >= first);
        QVERIFY(second > out);
        QVERIFY(logoutDateFor(at(900), second) >= second);
    }

    void shortensTheMachineAddress_data() {
        QTest::addColumn<QStringList>("addresses");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("expected");
        QTest::newRow("none") << QStringList() << 245 << QString();
        QTest::newRow("duplicates go") << QStringList{"aa", "bb", "aa"} << 245 << "aa|bb";
        QTest::newRow("fits exactly") << QStringList{"aa", "bb", "cc"} << 8 << "aa|bb|cc";
        QTest::newRow("one byte too long drops a whole address") << QStringList{"aa", "bb", "cc"} << 7 << "aa|bb";
        QTest::newRow("the last one stays") << QStringList{"aabbccddeeff"} << 3 << "aabbccddeeff";
    }

    void shortensTheMachineAddress() {
        QFETCH(QStringList, addresses);
        QFETCH(int, limit);
        QFETCH(QString, expected);
        QCOMPARE(joinedMachineAddress(addresses, limit), expected);
    }

    void knowsTheMachine_data() {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QStringList>("current");
        QTest::addColumn<bool>("same");
        QTest::newRow("one in common is enough") << "aa|bb|cc" << QStringList{"xx", "cc"} << true;
        QTest::newRow("none in common") << "aa|bb" << QStringList{"cc"} << false;
        QTest::newRow("a part of an address is none") << "aabb" << QStringList{"aa"} << false;
        QTest::newRow("blank on a machine without adapters") << "|" << QStringList() << true;
        QTest::newRow("blank on a machine with adapters") << "|" << QStringList{"aa"} << false;
        QTest::newRow("stored ones, adapters gone") << "aa" << QStringList() << false;
    }

    void knowsTheMachine() {
        QFETCH(QString, stored);
        QFETCH(QStringList, current);
        QFETCH(bool, same);
        QCOMPARE(isSameMachine(stored, current), same);
    }

    // Every adapter is replaced in the course of the years, one at a time.
    void knowsTheMachineOverTheYears() {
        QStringList stored{"aa", "bb"};
        // A dock that is away for the day, and room for four.
        for (const QStringList& present :
             {QStringList{"bb", "cc"}, QStringList{"bb"}, QStringList{"dd", "cc"}, QStringList{"ee", "dd"}}) {
            QVERIFY(isSameMachine(stored.join('|'), present));
            stored = joinedMachineAddress(renewedAddresses(stored, present), 11).split('|');
        }
        QCOMPARE(stored, QStringList({"ee", "dd", "cc", "bb"}));
    }

    void readsExpiry_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<qint64>("lifetime");
        QTest::newRow("seconds") << QByteArray("3600") << 3600LL;
        QTest::newRow("expired at once") << QByteArray("0") << 0LL;
        for (const char* const bad : {"", "-1", "3600.5", "1e9", "99999999999", "9999999999999999999999", "soon", "36 00"})
            QTest::newRow(qPrintable(QStringLiteral("bad: %1").arg(QLatin1String(bad)))) << QByteArray(bad) << -1LL;
    }

    void readsExpiry() {
        QFETCH(QByteArray, text);
        QFETCH(qint64, lifetime);
        QCOMPARE(expiryFrom(text, at(1000)), lifetime < 0 ? QDateTime() : at(1000 + lifetime));
    }

    void refusesTokensThatAreNone_data() {
        QTest::addColumn<QByteArray>("token");
        QTest::addColumn<bool>("usable");
        QTest::newRow("Base64") << QByteArray("aB+/=") << true;
        QTest::newRow("the longest") << QByteArray(64 * 1024, 'x') << true;
        QTest::newRow("too long") << QByteArray(64 * 1024 + 1, 'x') << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("a header in it") << QByteArray("abc\r\nX: y") << false;
        QTest::newRow("blank") << QByteArray("a b") << false;
        QTest::newRow("not ASCII") << QByteArray("a\xc3\xa4") << false;
        QTest::newRow("NUL") << QByteArray("a\0b", 3) << false;
    }

    void refusesTokensThatAreNone() {
        QFETCH(QByteArray, token);
        QFETCH(bool, usable);
        QCOMPARE(isUsableToken(token), usable);
    }

    void sendsIdentityInOrderAndOnlyWhenSet() {
        WebServicesConfigurationImp configuration;
        const QUrl url(QStringLiteral("https://example.com/request"));
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
