#include "Session/LoginState.h"

namespace Velquor::WebServices {

bool BasicLoginState::isSameSignIn(const BasicLoginState& other) const {
    return loginDate == other.loginDate && userId == other.userId && userName == other.userName;
}

QDateTime loginDateAfter(const QDateTime& now, const QDateTime& lastLogoutDate) {
    const QDateTime wholeSecond = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC);
    return lastLogoutDate.isValid() && lastLogoutDate >= wholeSecond ? lastLogoutDate.addSecs(1) : wholeSecond;
}

QDateTime logoutDateFor(const QDateTime& now, const QDateTime& loginDate) {
    const QDateTime wholeSecond = QDateTime::fromSecsSinceEpoch(now.toSecsSinceEpoch(), Qt::UTC);
    return loginDate.isValid() && loginDate > wholeSecond ? loginDate : wholeSecond;
}

StateOrigin compareSignIns(const BasicLoginState& inMemory, const BasicLoginState& inFile, const QDateTime& logoutDateInFile) {
    if (inFile.hasUser())
        return inMemory.isSameSignIn(inFile) || !inFile.loginDate.isValid() || inFile.loginDate < inMemory.loginDate
                   ? StateOrigin::Same
                   : StateOrigin::SignedInElsewhere;
    return logoutDateInFile.isValid() && logoutDateInFile >= inMemory.loginDate ? StateOrigin::SignedOutElsewhere
                                                                                : StateOrigin::Same;
}

} // namespace Velquor::WebServices
