// The way of a frame into a stream.

#include <algorithm>

#include "media/frame_time.h"
#include "media/vid_props.h"
#include "mixer/mix_clock.h"
#include "mixer/mixer_stream.h"
#include "video/slot_frame.h"

namespace zr {
namespace {

constexpr uint32_t kLeastPicture = 5;     // bytes
constexpr int64_t kHeardSlack = 100'000;  // ticks of sound beyond a frame that may be held

bool Has(eZrFrameFlags _eFlags, uint32_t _nBits) { return (_eFlags & _nBits) == _nBits; }

}  // namespace

// What the put knows of its frame.
struct ZrMixerStream::INCOMING {
    ZRF_FRAME_INFO info;
    eZrFrameFlags eFlags = eZrFF_None;  // with the break that a pause has left behind
    bool bVideo = false;
    bool bSound = false;     // goes into the ring
    int64_t rtBegin = 0;     // of the put of a picture
    int64_t rtDuration = 0;  // that the frame lasts

    bool IsBreak() const { return Has(eFlags, eZrFF_Break); }
    bool IsLive() const { return Has(eFlags, eZrFF_Live); }
};

HRESULT ZrMixerStream::PutMedia(IZrFFrame* _pFrame, const STREAM_PUT& _put) {
    INCOMING in;
    if (const HRESULT hr = _pFrame->ZrFAllGet(&in.info); Failed(hr)) return hr;
    Look(_pFrame, _put, in);
    if (!IsOpen()) return ZR_E_NOT_RUNNING;
    if (const HRESULT hr = WaitRunning(in, _put); hr != S_OK) return hr;
    if (!Admit(in, _pFrame)) return S_FALSE;

    const ZR_VID_PROPS& output = _put.output.vidProps;
    const bool bShows = in.bVideo && output.eVideoFormat != eZrVF_Disabled && PropsValid(&output, true) &&
                        in.info.cbVideo >= kLeastPicture;
    arrSlots.clear();
    if (bShows && !_put.bSync) {
        rate.Put(in.info.mTime, in.info.avProps.vidProps, output, arrSlots);
    } else if (bShows) {
        rate.Reset();
        arrSlots.push_back({in.info.mTime});
    }
    PutSound(in, _put);
    if (!bShows && !_put.bSkipped) NoteShown(_pFrame, in.info.mTime);
    in.rtBegin = ClockNow();
    HRESULT hr = PutSlots(_pFrame, in, _put);
    if (Succeeded(hr) && !_put.bSync && (in.bSound || !bShows)) hr = WaitHeard(in, _put);
    if (!bShows && !_put.bSkipped && !_put.bShowLastFrame) DropPictures();
    return hr;
}

// The frame goes to the blocks as often as its rate and that of the output ask for, as a whole or by fields.
HRESULT ZrMixerStream::PutSlots(IZrFFrame* _pFrame, INCOMING& _in, const STREAM_PUT& _put) {
    HRESULT hr = S_OK;
    for (const RATE_SLOT& slot : arrSlots) {
        _in.info.mTime = slot.time;
        ZrPtr<IZrFFrame> pShown;
        hr = FrameOfSlot(slot.ePicture, slot.ePicture == SlotPicture::Woven ? Kept().Get() : nullptr, *_pFrame,
                         InterlaceClass(&_put.output.vidProps), &pShown);
        if (Failed(hr)) break;
        hr = PutMedia_I(pShown.Get(), _in, _put);
        const int32_t nState = WaitStateOf(_in, _put);
        if (hr == S_OK || nState < kLive) nWaitState.store(nState, std::memory_order_relaxed);
        if (Failed(hr)) break;
    }
    if (rate.KeepsFrame()) {
        Keep(_pFrame);
    } else if (!arrSlots.empty()) {
        Keep({});
    }
    return hr;
}

CAutoObj<IZrFFrame> ZrMixerStream::Kept() const {
    MutexLock lock(mtxFrame);
    return pKept;
}

void ZrMixerStream::Keep(CAutoObj<IZrFFrame> _pFrame) {
    MutexLock lock(mtxFrame);
    if (_pFrame && bWaitBreak) return;  // closed during the put
    std::swap(pKept, _pFrame);          // what goes ends behind the lock
}

// What no picture holds up is held up by its sound: until the cycle has taken most of it, or the frame's time is over.
// A frame with nothing to see or hear waits for a cycle.
HRESULT ZrMixerStream::WaitHeard(INCOMING& _in, const STREAM_PUT& _put) {
    const int64_t rtFrame = FrameDurationOfRate(_put.output.vidProps.dblRate).rtDuration;
    do {
        if (_in.bSound && audio.HeldTime() <= rtFrame + kHeardSlack) return S_OK;
        if (const HRESULT hr = PutMedia_I(nullptr, _in, _put); Failed(hr)) return hr;
    } while (_in.bSound && ClockNow() < _in.rtBegin + _in.rtDuration);
    return S_OK;
}

void ZrMixerStream::Look(IZrFFrame* _pFrame, const STREAM_PUT& _put, INCOMING& _in) {
    _in.eFlags = _in.info.mTime.eFFlags;
    _in.rtDuration = _in.info.mTime.rtEndTime - _in.info.mTime.rtStartTime;
    if (_in.rtDuration <= 0) _in.rtDuration = FrameDurationOfRate(_in.info.avProps.vidProps.dblRate).rtDuration;
    _in.bVideo = PropsValid(&_in.info.avProps.vidProps, true) && _in.info.lpVideo != 0;
    int32_t cb = 0;
    int64_t pb = 0;
    const bool bSignal = _in.info.nDataCount == 0 || Failed(_pFrame->ZrFDataGet(kNoSignalId, &cb, &pb));
    bNoSignal.store(!bSignal, std::memory_order_relaxed);
    if (WaitState() >= 0 && !_in.IsBreak()) return;
    nWaitState.store(WaitStateOf(_in, _put), std::memory_order_relaxed);
    bLocked.store(_in.IsLive() && _in.info.avProps.bLocked, std::memory_order_relaxed);
}

// Whether the cycle must wait for such frames.
int32_t ZrMixerStream::WaitStateOf(const INCOMING& _in, const STREAM_PUT& _put) const {
    if (_in.info.avProps.bLocked && _put.bForceMaster) return kMustWait;
    const bool bOwnPace = (_in.eFlags & (eZrFF_Live | eZrFF_Net)) || (!_in.bVideo && !_put.bSkipped);
    return bOwnPace ? kLive : kMustWait;
}

// A paused stream holds its source back; one that cannot be held, or that the mixer pulls, loses the frame.
HRESULT ZrMixerStream::WaitRunning(const INCOMING& _in, const STREAM_PUT& _put) {
    if (_in.IsBreak()) return S_OK;
    {
        MutexLock lock(mtxFrame);
        if (bWaitBreak) return S_OK;
    }
    const int64_t rtLimit = _in.IsLive() || _put.bSync ? 0 : -1;
    const int32_t nSet = WaitAny({&evStop, &evRunning, _put.pAbort}, rtLimit);
    if (nSet == 1) return S_OK;
    if (nSet == 2) return E_ABORT;
    if (nSet == kWaitTimeout) bUserBreak.store(true, std::memory_order_relaxed);
    return S_FALSE;
}

// False: the stream waits for a break, and this is none.
bool ZrMixerStream::Admit(INCOMING& _in, IZrFFrame* _pFrame) {
    {
        MutexLock lock(mtxFrame);
        if (bWaitBreak && !_in.IsBreak()) {
            evReady.Set();
            return false;
        }
        bWaitBreak = false;
        bTransitionHold = false;
        if (_in.bVideo) vidProps = _in.info.avProps.vidProps;
        dblRate = rateMeter.Stamp(ClockNow());
        int32_t cb = 0;
        int64_t pb = 0;
        if (_in.info.nDataCount > 0 && Succeeded(_pFrame->ZrFDataGet(kCaptionsId, &cb, &pb)) && cb > 0) {
            captions.Put(reinterpret_cast<const void*>(pb), static_cast<size_t>(cb));
            if (CaptionLevel() < 1) nCaptionLevel.store(1, std::memory_order_relaxed);
        }
    }
    Count(_in);
    return true;
}

void ZrMixerStream::Count(INCOMING& _in) {
    if (Has(_in.eFlags, eZrFF_Dup)) {
        statistics.AddCount(counters.nDups, 1);
    } else if (Has(_in.eFlags, eZrFF_Pause)) {
        statistics.AddCount(counters.nPauses, 1);
    } else if (_in.IsBreak()) {
        statistics.AddCount(counters.nBreaks, 1);
    }
    if (!bUserBreak.load(std::memory_order_relaxed) || !bUserBreak.exchange(false, std::memory_order_relaxed)) return;
    statistics.AddCount(counters.nUserBreaks, 1);
    _in.eFlags = WithBreak(_in.eFlags);
}

void ZrMixerStream::PutSound(INCOMING& _in, const STREAM_PUT& _put) {
    STREAM_SOUND sound;
    sound.props = _in.info.avProps.audProps;
    sound.pbAudio = reinterpret_cast<const uint8_t*>(_in.info.lpAudio);
    sound.cbAudio = static_cast<int32_t>(_in.info.cbAudio);
    sound.eFlags = _in.eFlags;
    sound.bHasVideo = _in.bVideo;
    sound.bSync = _put.bSync;
    sound.dblSourceRate = _in.info.avProps.vidProps.dblRate;
    sound.bRateStep = rate.HasStepped();
    sound.rtLater = rate.FillsFields() ? _in.rtDuration : 0;
    sound.vidOutput = _put.output.vidProps;
    sound.audOutput = _put.output.audProps;
    _in.bSound = StreamAudio::IsUsable(sound);
    audio.Put(sound);
}

// Hands a frame with a picture to the blocks; null: only the state is new.
HRESULT ZrMixerStream::PutMedia_I(IZrFFrame* _pFrame, const INCOMING& _in, const STREAM_PUT& _put) {
    if (const HRESULT hr = WaitTaken(_in, _put); hr != S_OK) return hr;
    if (!_pFrame) {
        evTake.Reset();
        evReady.Set();
        return S_OK;
    }
    CAutoObj<IZrFFrame> pOld(_pFrame);
    {
        MutexLock lock(mtxFrame);
        if (bWaitBreak && !_in.IsBreak()) {  // closed during the put
            evReady.Set();
            return S_FALSE;
        }
        bWaitBreak = false;
        std::swap(pLastFrame, pOld);
        evReady.Reset();
        evTake.Reset();
    }
    pOld.Reset();  // outside of the lock
    const bool bTook = PutToBlocks(_pFrame, _in, _put);
    {
        MutexLock lock(mtxFrame);
        lastTime = _in.info.mTime;  // not before: a cycle that does not wait draws the old picture until now
    }
    evReady.Set();
    return bTook ? S_OK : S_FALSE;
}

// One that no block shows: what it brings is in the cycle's hands already.
void ZrMixerStream::NoteShown(IZrFFrame* _pFrame, const ZR_TIME& _time) {
    CAutoObj<IZrFFrame> pOld(_pFrame);  // goes outside of the lock
    MutexLock lock(mtxFrame);
    if (bWaitBreak) return;  // closed during the put
    std::swap(pLastFrame, pOld);
    lastTime = _time;
}

// Until the cycle has taken the last frame. A live one waits no longer than it lasts, and then takes its place. Any
// other waits as long as it takes: this is what holds back a source that has no pace of its own.
HRESULT ZrMixerStream::WaitTaken(const INCOMING& _in, const STREAM_PUT& _put) {
    int64_t rtLimit = _put.bSync ? 0 : -1;
    if (!_put.bSync && WaitState() > kMustWait && !(_in.eFlags & eZrFF_Net)) {
        const int64_t rtLeft = std::max<int64_t>(_in.rtBegin + _in.rtDuration - ClockNow(), 0);
        rtLimit = std::min(rtLeft, 2 * FrameDurationOfRate(_put.output.vidProps.dblRate).rtDuration);
    }
    const int32_t nSet = WaitAny({&evStop, _put.pAbort, &evTake}, rtLimit);
    if (nSet == 0) {
        evReady.Set();
        return ZR_E_NOT_RUNNING;
    }
    return nSet == 1 ? E_ABORT : S_OK;
}

// True: a block has the frame.
bool ZrMixerStream::PutToBlocks(IZrFFrame* _pFrame, const INCOMING& _in, const STREAM_PUT& _put) {
    blocks.Of(this, arrPutTo);
    bool bTook = false;
    bool bForceCaptions = false;
    for (const auto& pBlock : arrPutTo) {
        bTook |= pBlock->Put(*_pFrame, _put.nScalingQuality, _put.bMakeLater) == S_OK;
        pBlock->SetLastTime(_in.info.mTime);
        bForceCaptions |= pBlock->State().bForceCaptions;
    }
    nBlocks.store(static_cast<int32_t>(arrPutTo.size()), std::memory_order_relaxed);
    arrPutTo.clear();
    if (bForceCaptions) {
        nCaptionLevel.store(2, std::memory_order_relaxed);
    } else if (CaptionLevel() == 2) {
        nCaptionLevel.store(0, std::memory_order_relaxed);
    }
    return bTook;
}

}  // namespace zr
