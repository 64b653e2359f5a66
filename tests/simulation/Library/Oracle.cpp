#include "simulation/Library/Oracle.h"

#include "Session/State/LoginStateDocument.h"
#include "TestKit/SessionFixture.h"
#include "Values/WebServicesConfigurationImp.h"

#include <algorithm>
#include <utility>

namespace Velquor::Simulation {

using namespace WebServices;
using namespace WebServices::Internal;

namespace {

QString nameOf(const SimProcess& process) {
    return QString::fromUtf8(process.process().name);
}

// Of a product key. It names the mark.
const QString& digestOf(const QByteArray& key) {
    static std::map<QByteArray, QString> digests;
    QString& digest = digests[key];
    if (digest.isEmpty())
        digest = WebServicesConfigurationImp::of(TestKit::SessionFixture::configuration(QString::fromLatin1(key), "secret"))
                     .derivedKey();
    return digest;
}

} // namespace

void Oracle::readFile() {
    if (m_file.writes == m_machine.disk.writes)
        return;
    m_file = {m_machine.disk.writes, 0, {}};
    const Util::Result<LoginStateDocument> document = LoginStateDocument::parse(m_machine.disk.text);
    const LoginState state = document ? document->state() : LoginState();
    if (!state.hasSignIn)
        return;
    m_file.signIn = Ledger::signInOf(QByteArray::fromBase64(state.user.clientId));
    for (const StoredProduct& product : state.products)
        m_file.tokens[product.productKey.toLatin1()] = Ledger::tokenOf(QByteArray::fromBase64(product.tokens.accessToken));
    // Of two new sign-ins the one that is saved last counts, and its process may have slept before that.
    if (m_everInFile.insert(m_file.signIn).second)
        m_used[m_file.signIn] = m_machine.world.nowUs();
}

// Of two sign-ins that meet, either may be the later one: their dates are whole seconds.
bool Oracle::isSuperseded(const Ledger::SignIn& signIn) const {
    return std::any_of(m_used.begin(), m_used.end(), [&](const auto& used) {
        return used.first > 0 && used.first != signIn.number && used.second + 1000000 >= signIn.exchangedUs;
    });
}

// A sign-in that could not be written yet does not outlive the user's later sign-out in another process, which cannot know it.
// When the clock was put back before, an earlier sign-out has a later date.
bool Oracle::mayEnd(int number) const {
    const Ledger::SignIn* const signIn = m_machine.line.ledger.find(number);
    const bool isDatedEarlier = m_machine.clockPutBackUs >= signIn->exchangedUs - Machine::largestJumpUs;
    const bool isUnwritten =
        m_everInFile.count(number) == 0 && (isDatedEarlier || m_machine.lastSignOutUs >= signIn->exchangedUs);
    return isUnwritten || !m_machine.line.ledger.isGood(number) || m_machine.leftByUser.count(number) > 0
           || m_machine.line.exhausted.count(number) > 0 || isSuperseded(*signIn);
}

QString Oracle::check() {
    readFile();
    m_seen.resize(m_processes.size());
    for (std::size_t index = 0; index < m_processes.size(); index++)
        look(*m_processes[index], m_seen[index]);
    for (std::size_t index = 0; index < m_processes.size(); index++) {
        const SimProcess& process = *m_processes[index];
        if (!process.isAlive())
            continue;
        const QString broken = process.broken().isEmpty() ? checkShown(process, m_seen[index]) : process.broken();
        if (!broken.isEmpty())
            return broken;
    }
    const QString waits = checkWaits();
    const QString early = waits.isEmpty() && m_machine.isFaultless ? checkEarly() : waits;
    return early.isEmpty() ? checkTokens() : early;
}

// Only its own steps change what a process shows.
void Oracle::look(const SimProcess& process, Seen& seen) {
    if (std::exchange(seen.steps, process.process().steps) == process.process().steps)
        return;
    seen.isRestored = process.isRestored();
    const int signIn = seen.isRestored ? process.shownSignIn() : 0;
    if (std::exchange(seen.signIn, signIn) != signIn)
        m_used.insert({signIn, m_machine.world.nowUs()});
    const int token = seen.isRestored ? process.token() : 0;
    if (std::exchange(seen.token, token) != token)
        m_taken.insert(token);
}

// A thread that holds the file waits for nothing but the disk.
QString Oracle::checkWaits() const {
    const Actor* const holder = m_machine.disk.lock.holder();
    const bool isWaiting =
        holder && (holder->what.endsWith("event loop") || holder->what.endsWith("session") || holder->what == "sleeps");
    return isWaiting ? QStringLiteral("R7: the file is held during a wait: %1, %2")
                           .arg(QString::fromUtf8(holder->name), QString::fromUtf8(holder->what))
                     : QString();
}

QString Oracle::checkShown(const SimProcess& process, Seen& seen) const {
    const int shown = seen.signIn;
    if (!seen.isRestored || shown == seen.shown)
        return {};
    if (seen.shown > 0 && !mayEnd(seen.shown))
        return QStringLiteral("R1: a user was signed out, and nobody did it: %1 of s%2").arg(nameOf(process)).arg(seen.shown);
    if (seen.left.count(shown) > 0)
        return QStringLiteral("R1: a user who was signed out is back: %1 in s%2").arg(nameOf(process)).arg(shown);
    if (seen.shown > 0)
        seen.left.insert(seen.shown);
    seen.shown = shown;
    return {};
}

// In memory, or on its way to the process that asked for it.
bool Oracle::isHeld(const QByteArray& key, int token) const {
    const auto asker = m_machine.line.askers.find(token);
    for (std::size_t index = 0; index < m_seen.size(); index++) {
        const SimProcess& process = *m_processes[index];
        const bool isAsker =
            asker != m_machine.line.askers.end() && asker->second == &process.process() && m_taken.count(token) == 0;
        if (process.isAlive() && (isAsker || (m_seen[index].token == token && process.productKey().toLatin1() == key)))
            return true;
    }
    return false;
}

// Each is renewed shortly before its end.
QString Oracle::checkEarly() const {
    for (const auto& signIn : m_machine.line.ledger.signIns())
        if (signIn.second.isGivenEarly)
            return QStringLiteral("R4: a second request for a token that had long to live, of s%1").arg(signIn.first);
    return {};
}

// A spent token is in the file only while somebody holds its successor, or knows that it may be spent. The first token of a
// product has no predecessor, and can be asked for again.
QString Oracle::checkTokens() const {
    const Ledger& ledger = m_machine.line.ledger;
    for (const auto& inFile : m_file.tokens) {
        const Ledger::SignIn* const signIn = ledger.find(ledger.ownerOf(inFile.second));
        const auto last = signIn ? signIn->lastTokens.find(inFile.first) : std::map<QByteArray, int>::const_iterator();
        if (!signIn || last == signIn->lastTokens.end() || (m_file.signIn == signIn->number && inFile.second == last->second))
            continue;
        const bool isMarked = m_machine.claims.pendingRefreshes.count(digestOf(inFile.first)) > 0;
        if (!isMarked && !isHeld(inFile.first, last->second) && m_everInFile.count(signIn->number) > 0 && !mayEnd(signIn->number))
            return QStringLiteral("R3: what the server gave out is lost: token t%1 of s%2").arg(last->second).arg(signIn->number);
    }
    return {};
}

bool Oracle::isTokenUnsaved() const {
    return m_file.signIn > 0 && std::any_of(m_file.tokens.begin(), m_file.tokens.end(), [this](const auto& token) {
               return !m_machine.line.ledger.isCurrent(token.second, token.first);
           });
}

QString Oracle::checkQuiet() {
    readFile();
    for (std::size_t index = 0; index < m_seen.size(); index++) {
        const SimProcess& process = *m_processes[index];
        if (!process.isRestored())
            continue;
        const QString agreed = checkAgreed(process);
        const QString broken = agreed.isEmpty() ? checkTold(process, m_seen[index]) : agreed;
        if (!broken.isEmpty())
            return broken;
    }
    return {};
}

QString Oracle::checkAgreed(const SimProcess& process) const {
    const int shown = process.shownSignIn();
    if (shown != m_file.signIn)
        return QStringLiteral("R2: a process and the file disagree on the user: %1 shows s%2, the file s%3")
            .arg(nameOf(process))
            .arg(shown)
            .arg(m_file.signIn);
    if (shown == 0)
        return {};
    const bool isGood = m_machine.line.ledger.isGood(shown);
    // Whose automatic sign-in the server has refused has no token, and says so. It ends no other product's sign-in.
    if (!isGood && process.token() == 0)
        return {};
    if (!isGood)
        return QStringLiteral("R8: what the server has ended is still shown: %1 in s%2").arg(nameOf(process)).arg(shown);
    // The library has given up, and the host knows.
    if (process.hasGivenUp())
        return {};
    const auto inFile = m_file.tokens.find(process.productKey().toLatin1());
    if (inFile == m_file.tokens.end() || process.token() != inFile->second)
        return QStringLiteral("R2: a process and the file disagree on the token: %1 has t%2, the file t%3")
            .arg(nameOf(process))
            .arg(process.token())
            .arg(inFile == m_file.tokens.end() ? 0 : inFile->second);
    if (!m_machine.line.ledger.isCurrent(process.token(), process.productKey().toLatin1()))
        return QStringLiteral("R8: the server does not take the token that everybody has: %1 has t%2")
            .arg(nameOf(process))
            .arg(process.token());
    return m_machine.usesOAuth2 ? checkOAuth2(process) : QString();
}

QString Oracle::checkOAuth2(const SimProcess& process) const {
    const int token = process.oauth2Token();
    const Ledger& ledger = m_machine.line.ledger;
    return ledger.isOAuth2Good(token) && ledger.ownerOfOAuth2(token) == process.shownSignIn()
               ? QString()
               : QStringLiteral("R8: the server does not take the OAuth2 token: %1 in s%2 has o%3 of s%4")
                     .arg(nameOf(process))
                     .arg(process.shownSignIn())
                     .arg(token)
                     .arg(ledger.ownerOfOAuth2(token));
}

QString Oracle::checkTold(const SimProcess& process, const Seen& seen) {
    // The event does not say which sign-in it is about. A second sign-in may be shown before the first one is told.
    std::set<int> untold = seen.left;
    for (const int told : process.told())
        untold.erase(told);
    int last = 0;
    for (const int told : process.told()) {
        if (told == last && told != SimProcess::unknownSignIn && !untold.empty())
            untold.erase(untold.begin());
        else if (told == last && told != SimProcess::unknownSignIn)
            return QStringLiteral("R5: an observer was told twice: %1 of s%2").arg(nameOf(process)).arg(told);
        last = told;
    }
    return (last == 0) == (process.shownSignIn() == 0)
               ? QString()
               : QStringLiteral("R5: an observer was not told: %1, last s%2").arg(nameOf(process)).arg(last);
}

} // namespace Velquor::Simulation
