#include "Session/State/LoginState.h"

namespace Velquor::WebServices::Internal {

bool BasicLoginState::isSameSignIn(const BasicLoginState& other) const {
    return loginDate == other.loginDate && userId == other.userId && userName == other.userName;
}

QDateTime laterOf(const QDateTime& first, const QDateTime& second) {
    return second.isValid() && (!first.isValid() || second > first) ? second : first;
}

QDateTime loginDateAfter(const QDateTime& now, const QDateTime& last) {
    const QDateTime wholeSecond = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC);
    return last.isValid() && last >= wholeSecond ? last.addSecs(1) : wholeSecond;
}

QDateTime logoutDateFor(const QDateTime& now, const QDateTime& loginDate) {
    return laterOf(QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC), loginDate);
}

StateOrigin compareSignIns(const BasicLoginState& inMemory, const BasicLoginState& inFile, const QDateTime& logoutDateInFile) {
    if (inFile.hasUser() && inMemory.isSameSignIn(inFile))
        return StateOrigin::Same;
    if (inFile.hasUser())
        return !inFile.loginDate.isValid() || inFile.loginDate < inMemory.loginDate ? StateOrigin::Older
                                                                                    : StateOrigin::SignedInElsewhere;
    return logoutDateInFile.isValid() && logoutDateInFile >= inMemory.loginDate ? StateOrigin::SignedOutElsewhere
                                                                                : StateOrigin::Same;
}

} // namespace Velquor::WebServices::Internal
