#pragma once

#include "simulation/Library/AccountService.h"
#include "simulation/Library/SimClaims.h"
#include "simulation/Library/SimFile.h"
#include "simulation/Library/Wire.h"
#include "simulation/SimClock.h"

#include <set>

namespace Velquor::Simulation {

/// What the processes of one user share outside of themselves, and what the user did there.
///
/// Thread: the director or the running actor. Owner: the run, for longer than the processes.
struct Machine {
    explicit Machine(World& world)
        : world(world)
        , clock(world)
        , disk(world)
        , line(world)
        , wire(world) {}

    /// How often each act is taken, compared with the others.
    struct Habits {
        int look = 4;
        int sign = 4;
        int signIn = 4;
        int signOut = 1;
        int end = 1;
    };

    World& world;
    SimClock clock;
    Disk disk;
    ClaimsTable claims;
    ServiceLine line;
    Wire wire;
    Habits habits;
    bool usesOAuth2 = false;  ///< Each product enables an OAuth2 token.
    bool isFaultless = false; ///< Nobody dies, ends, or loses anything.
    bool isQuiet = false;     ///< The user does nothing but look.
    bool isSettled = false;   ///< All was quiet for so long that every call must succeed. The user signs requests.
    std::set<int> leftByUser; ///< Sign-ins that the user has begun to end.
    std::set<int> takenUp;    ///< Sign-ins that a process has completed.
    qint64 lastSignOutUs = -1;
    static constexpr qint64 largestJumpUs = 300000000;
    qint64 clockPutBackUs = -largestJumpUs - 1; ///< When it happened last.
    int pendingSignIns = 0;                     ///< That wait for the browser.
    std::map<QString, int> marks;               ///< Situations that have happened.
};

} // namespace Velquor::Simulation
