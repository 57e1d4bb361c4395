#include "mixer/async_collect.h"

namespace zr {

void CollectWaits(std::span<const WAIT_INPUT> _arrInputs, bool _bWaitAll, bool _bOwnFrame, WAIT_LISTS& _lists) {
    _lists.arrRequired.clear();
    _lists.arrPace.clear();
    _lists.arrOptional.clear();
    _lists.arrSkip.clear();
    _lists.bLocked = false;
    bool bMasterSeen = false;
    for (size_t i = 0; i < _arrInputs.size(); ++i) {
        const WAIT_INPUT& input = _arrInputs[i];
        if (input.bDrop) _lists.arrSkip.push_back(i);
        if (!input.bRunning) continue;
        if (input.bMaster && !input.bDrop) {
            _lists.arrPace.clear();
            if (!bMasterSeen) {  // from here on masters alone count
                _lists.arrRequired.clear();
                _lists.bLocked = false;
            }
            _lists.arrRequired.push_back(i);
            _lists.bLocked |= input.bLocked;
            bMasterSeen = true;
        } else if (bMasterSeen) {
            continue;
        } else if (input.bDrop) {
            _lists.arrOptional.push_back(i);
        } else if (input.bMustWait) {
            _lists.arrRequired.push_back(i);
            _lists.bLocked |= input.bLocked;
        } else if (_bWaitAll || input.bWanted) {
            _lists.arrPace.push_back(i);
            _lists.bLocked |= input.bLocked;
        } else {
            _lists.arrOptional.push_back(i);
            _lists.arrSkip.push_back(i);
        }
    }
    if (_bOwnFrame && _lists.arrRequired.empty() && _lists.arrPace.empty()) _lists.arrPace = _lists.arrOptional;
}

}  // namespace zr
