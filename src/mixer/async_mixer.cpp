#include "mixer/async_mixer.h"

#include <algorithm>

#include "media/frame_time.h"
#include "media/vid_props.h"
#include "mixer/output_format.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int64_t kRequiredLimit = 250 * kTicksPerMs;

}  // namespace

HRESULT AsyncMixer::Async_Request(const CYCLE& _cycle, SyncRequest& _request, bool* _pbLocked) {
    _request.Release();
    FindFormat(_cycle, _request);
    PublishPut(_request);
    Collect(_request, !_cycle.pFrameIn);
    *_pbLocked = lists.bLocked;
    return Wait(_cycle, _request, FrameDurationOfRate(_request.props.vidProps.dblRate).rtDuration);
}

// The background's format is that of the cycle; without one it is the output's.
void AsyncMixer::FindFormat(const CYCLE& _cycle, SyncRequest& _request) {
    AV_FORMAT& props = _request.props;
    props = format.Wanted();
    ZR_AV_PROPS propsFrame;
    if (_cycle.pFrameIn && Succeeded(_cycle.pFrameIn->ZrFAVPropsGet(&propsFrame, nullptr))) {
        if (PropsValid(&propsFrame.vidProps, true)) props.vidProps = propsFrame.vidProps;
        CompleteByFrame(FormatOf(propsFrame), props);
    }
    CompleteByDefault(props);
}

void AsyncMixer::PublishPut(const SyncRequest& _request) {
    STREAM_PUT now;
    now.output = _request.props;
    now.nScalingQuality = pObject->AttributeOr(u"scaling_quality.blocks", 2);
    now.bForceMaster = pObject->AttributeOr(u"locked.force_master", false);
    now.bShowLastFrame = pObject->AttributeOr(u"elements.show_last_frame", true);
    now.bSync = false;
    MutexLock lock(mtxPut);
    put = now;
}

STREAM_PUT AsyncMixer::Put() const {
    MutexLock lock(mtxPut);
    return put;
}

void AsyncMixer::Reset() {
    pace.Reset();
    SyncRequest request;
    FindFormat({}, request);
    PublishPut(request);
}

void AsyncMixer::Collect(SyncRequest& _request, bool _bOwnFrame) {
    {
        MutexLock lock(streams.mtxChange);
        streams.Collect(arrInputs);
    }
    arrWaits.clear();
    for (const MIX_INPUT& input : arrInputs) {
        ZrMixerStream* const pStream = input.pStream.Get();
        if (!pStream || !pStream->IsOpen()) continue;
        _request.Add().input = input;
        const XMLNodePtr& pNode = input.pItem->Node();
        WAIT_INPUT& wait = arrWaits.emplace_back();
        wait.bRunning = pStream->IsFed();
        wait.bDrop = pStream->IsDropping() || pNode->AttributeOr(u"drop_frames", false);
        wait.bMaster = pNode->AttributeOr(u"master", false);
        wait.bMustWait = pStream->WaitState() == ZrMixerStream::kMustWait;
        wait.bWanted = pStream->IsShown();
        wait.bLocked = pStream->IsLocked();
    }
    arrInputs.clear();
    CollectWaits(arrWaits, pObject->AttributeOr(u"live.wait_all", true), _bOwnFrame, lists);
    for (const size_t i : lists.arrSkip) _request[i].input.pStream->TakeEvent().Set();
}

HRESULT AsyncMixer::Wait(const CYCLE& _cycle, const SyncRequest& _request, int64_t _rtFrame) {
    const int64_t rtPace =
        pace.Interval(ClockNow(), _rtFrame, _cycle.bReceiverPaces, pObject->AttributeOr(u"live.fixed_wait_div", 0.0));
    if (!_cycle.bHolds && rtPace < 0) {
        const int64_t rtLimit = std::min(-rtPace, 2 * (_rtFrame / kTicksPerMs) * kTicksPerMs);
        const HRESULT hr = WaitAllOf(lists.arrPace, _request, *_cycle.pStop, rtLimit);
        if (Failed(hr) && hr != ZR_E_RETRY) return hr;
    }
    return WaitAllOf(lists.arrRequired, _request, *_cycle.pStop, kRequiredLimit);
}

// ZR_E_RETRY: the limit has passed. One after another: nobody but the cycle takes a stream's state back, and a producer
// that puts another frame makes its stream ready again.
HRESULT AsyncMixer::WaitAllOf(const std::vector<size_t>& _arr, const SyncRequest& _request, ManualEvent& _evStop,
                              int64_t _rtLimit) const {
    const int64_t rtDeadline = DeadlineAfter(ClockNow(), _rtLimit);
    for (const size_t i : _arr) {
        const int32_t nSet = WaitAnyUntil({&_evStop, &_request[i].input.pStream->ReadyEvent()}, rtDeadline);
        if (nSet == 0) return ZR_E_NOT_RUNNING;
        if (nSet == kWaitTimeout) return ZR_E_RETRY;
    }
    return S_OK;
}

}  // namespace zr
