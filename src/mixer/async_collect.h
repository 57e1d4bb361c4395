#pragma once
// Which streams an asynchronous cycle waits for, and how: worked out from what they are, without any lock or thread.

#include <cstddef>
#include <span>
#include <vector>

namespace zr {

// What the rules look at of one stream, in the order of the table.
struct WAIT_INPUT {
    bool bRunning = false;   // its source gives frames
    bool bDrop = false;      // its frames may be dropped: the key `drop_frames`, or there are none
    bool bMaster = false;    // the key `master`
    bool bMustWait = false;  // wait state 0
    bool bWanted = false;    // a block of it is visible or heard
    bool bLocked = false;
};

// Places in the table. Keeps its memory.
struct WAIT_LISTS {
    std::vector<size_t> arrRequired;  // all of them, or the cycle is tried again
    std::vector<size_t> arrPace;      // all of them, no longer than the pace allows
    std::vector<size_t> arrOptional;  // not waited for
    std::vector<size_t> arrSkip;      // their producers are not to wait for this cycle
    bool bLocked = false;             // of those waited for
};

// _bWaitAll: the key `live.wait_all`. _bOwnFrame: there is no background to give the pace, so that somebody has to.
void CollectWaits(std::span<const WAIT_INPUT> _arrInputs, bool _bWaitAll, bool _bOwnFrame, WAIT_LISTS& _lists);

}  // namespace zr
