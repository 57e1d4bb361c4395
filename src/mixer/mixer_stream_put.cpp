// The way of a frame into a stream.

#include "media/vid_props.h"
#include "mixer/mix_clock.h"
#include "mixer/mixer_stream.h"

namespace zr {
namespace {

constexpr uint32_t kLeastPicture = 5;  // bytes

bool Has(eZrFrameFlags _eFlags, uint32_t _nBits) { return (_eFlags & _nBits) == _nBits; }

}  // namespace

// What the put knows of its frame.
struct ZrMixerStream::INCOMING {
    ZRF_FRAME_INFO info;
    eZrFrameFlags eFlags = eZrFF_None;  // with the break that a pause has left behind
    bool bVideo = false;

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
    PutSound(in, _put);

    const ZR_VID_PROPS& output = _put.output.vidProps;
    const bool bShows = in.bVideo && output.eVideoFormat != eZrVF_Disabled && PropsValid(&output, true) &&
                        in.info.cbVideo >= kLeastPicture;
    HRESULT hr = S_OK;
    if (bShows) {
        hr = PutMedia_I(_pFrame, in, _put);
        const int32_t nState = WaitStateOf(in, _put);
        if (hr == S_OK || nState < kLive) nWaitState.store(nState, std::memory_order_relaxed);
    } else if (!_put.bSkipped && !_put.bShowLastFrame) {
        DropPictures();
    }
    return hr;
}

void ZrMixerStream::Look(IZrFFrame* _pFrame, const STREAM_PUT& _put, INCOMING& _in) {
    _in.eFlags = _in.info.mTime.eFFlags;
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
    CAutoObj<IZrFFrame> pOld(_pFrame);
    {
        MutexLock lock(mtxFrame);
        if (bWaitBreak && !_in.IsBreak()) {
            evReady.Set();
            audio.WantedEvent().Set();
            return false;
        }
        bWaitBreak = false;
        bTransitionHold = false;
        if (_in.bVideo) vidProps = _in.info.avProps.vidProps;
        std::swap(pLastFrame, pOld);
        lastTime = _in.info.mTime;
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

void ZrMixerStream::PutSound(const INCOMING& _in, const STREAM_PUT& _put) {
    STREAM_SOUND sound;
    sound.props = _in.info.avProps.audProps;
    sound.pbAudio = reinterpret_cast<const uint8_t*>(_in.info.lpAudio);
    sound.cbAudio = static_cast<int32_t>(_in.info.cbAudio);
    sound.eFlags = _in.eFlags;
    sound.bHasVideo = _in.bVideo;
    sound.bSync = _put.bSync;
    sound.dblSourceRate = _in.info.avProps.vidProps.dblRate;
    sound.vidOutput = _put.output.vidProps;
    sound.audOutput = _put.output.audProps;
    audio.Put(sound);
}

// Hands a frame with a picture to the blocks.
HRESULT ZrMixerStream::PutMedia_I(IZrFFrame* _pFrame, const INCOMING& _in, const STREAM_PUT& _put) {
    if (const HRESULT hr = WaitTaken(_put); hr != S_OK) return hr;
    {
        MutexLock lock(mtxFrame);
        if (bWaitBreak && !_in.IsBreak()) {  // closed during the put
            evReady.Set();
            return S_FALSE;
        }
        bWaitBreak = false;
        evReady.Reset();
        evTake.Reset();
    }
    const bool bTook = PutToBlocks(_pFrame, _in, _put);
    evReady.Set();
    return bTook ? S_OK : S_FALSE;
}

HRESULT ZrMixerStream::WaitTaken(const STREAM_PUT& _put) {
    const int32_t nSet = WaitAny({&evStop, _put.pAbort, &evTake}, _put.bSync ? 0 : -1);
    if (nSet == 0) {
        evReady.Set();
        return ZR_E_NOT_RUNNING;
    }
    return nSet == 1 ? E_ABORT : S_OK;
}

// True: a block has the frame.
bool ZrMixerStream::PutToBlocks(IZrFFrame* _pFrame, const INCOMING& _in, const STREAM_PUT& _put) {
    blocks.Of(this, arrPutTo);
    double dblVisible = 0;
    double dblGain = 0;
    bool bTook = false;
    bool bForceCaptions = false;
    for (const auto& pBlock : arrPutTo) {
        bTook |= pBlock->Put(*_pFrame, _put.nScalingQuality) == S_OK;
        pBlock->SetLastTime(_in.info.mTime);
        const BLOCK_STATE state = pBlock->State();
        bForceCaptions |= state.bForceCaptions;
        if (state.dblAudioGain >= 0) {
            dblGain += state.dblAudioGain;
        } else {
            dblVisible += state.dblVisibleShare;
        }
    }
    nBlocks.store(static_cast<int32_t>(arrPutTo.size()), std::memory_order_relaxed);
    arrPutTo.clear();
    if (!_put.bSync) {  // else the walk over the elements adds them up, cycle by cycle
        ResetGains();
        AddGains(dblVisible, dblGain);
    }
    if (bForceCaptions) {
        nCaptionLevel.store(2, std::memory_order_relaxed);
    } else if (CaptionLevel() == 2) {
        nCaptionLevel.store(0, std::memory_order_relaxed);
    }
    return bTook;
}

}  // namespace zr
