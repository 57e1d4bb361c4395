#include "mixer/mix_cycle.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "attributes/interface_call.h"
#include "framework/frame_factory_access.h"
#include "media/aud_props.h"
#include "media/frame_time.h"
#include "media/vid_props.h"
#include "mixer/output_format.h"
#include "mixer/source_keys.h"
#include "platform/thread.h"
#include "platform/trace.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr int64_t kNoSourcesPause = 10 * kTicksPerMs;
constexpr int64_t kNextTry = 10 * kTicksPerMs;  // after a pass that has made no frame
constexpr int64_t kAudioGapLimit = 100'000;     // ticks
constexpr double kDefaultDuration = 333666.66666;

double ExactDuration(const ZR_VID_PROPS& _props) {
    return _props.dblRate > 0 ? FrameDurationOfRate(_props.dblRate).dblExact : kDefaultDuration;
}

}  // namespace

MixCycle::MixCycle(const MIX_PARTS& _parts)
    : producers(_parts.streams, *this),
      parts(_parts),
      sync(_parts.props.Object(), _parts.format, _parts.streams, _parts.statistics, _parts.events, _parts.self),
      async(_parts.props.Object(), _parts.format, _parts.streams),
      flights(*this),
      draw(_parts.props.Root(), _parts.props.Object(), _parts.blocks),
      audioMixer(_parts.statistics),
      nMixCycle(_parts.statistics.Resolve(u"mix_cycle")),
      nSyncCycle(_parts.statistics.Resolve(u"sync.mix_cycle")),
      nSyncFrames(_parts.statistics.Resolve(u"sync.mix_frames")),
      nMixAudio(_parts.statistics.Resolve(u"mix_audio")),
      nMixOutput(_parts.statistics.Resolve(u"mix_output")),
      nMixFailed(_parts.statistics.Resolve(u"mix_failed")),
      nInFlight(_parts.statistics.Resolve(u"mix_fixed_buffers")),
      nFpsMix(_parts.statistics.Resolve(u"fps_mix")) {}

bool MixCycle::IsSynchronous(int32_t _nKind) const {
    const int32_t nNow = nWay.load(std::memory_order_relaxed);
    if (nNow == kByKeys ? !parts.props.IsSynchronous() : nNow == kAsync) return false;
    const XMLNodePtr& pObject = parts.props.Object();
    switch (_nKind) {
        case 1: return pObject->AttributeOr(u"sync_mode.async_get", true);
        case 2: return pObject->AttributeOr(u"sync_mode.async_put", true);
        case 3: return pObject->AttributeOr(u"sync_mode.fixed_buffers", 0) >= 2;
        default: return true;
    }
}

bool MixCycle::HasOnePlace() const {
    return !IsSynchronous(0) && !parts.props.Root()->AttributeOr(u"background.direct_out", false);
}

HRESULT MixCycle::Start() {
    const bool bRuns = thread.IsRunning() == CBaseThread::kRunning;
    // One that a listener of its own has stopped may be on its last pass still: it is waited for, but not by itself.
    if (!bRuns) {
        if (const HRESULT hr = thread.Stop(-1); Failed(hr)) return hr;
        if (const HRESULT hr = flights.Stop(); Failed(hr)) return hr;
    }
    evStop.Reset();
    if (nWay.load(std::memory_order_relaxed) == kByKeys) {
        async.Reset();
        nWay.store(parts.props.IsSynchronous() ? kSync : kAsync, std::memory_order_relaxed);
    }
    if (!bRuns) {
        if (const HRESULT hr = thread.Start(this, &MixCycle::Run); Failed(hr)) return hr;
    }
    bFirstFrame.store(true, std::memory_order_relaxed);
    thread.Wake();
    if (!IsSynchronous(0)) producers.Start();
    if (producers.IsMissingOne()) thread.Wake();
    return S_OK;
}

void MixCycle::Stop(IEventSink& _events) {
    evStop.Set();
    producers.Stop();
    thread.Stop(-1);
    flights.Stop();
    nWay.store(kByKeys, std::memory_order_relaxed);
    nFramesOut = 0;
    bStraight = false;
    clock.Reset();
    audioCalc.Reset();
    audioMixer.Reset();
    rateMeter.Reset();
    priorityOfPass = priorityOfFlights = {};
    request.Release();
    draw.Reset();
    pBlack.Reset();
    sync.RemoveSources(_events);
}

void MixCycle::Run(void* _pCycle, ThreadRun& _run) { static_cast<MixCycle*>(_pCycle)->RunThread(_run); }

void MixCycle::RunThread(ThreadRun& _run) {
    int64_t nCycle = 0;
    while (_run.WaitWake()) {
        // A background that is pushed in drives the cycle from its own thread.
        if (!IsSynchronous(0) && parts.streams.Background()) {
            bFirstFrame.store(true, std::memory_order_relaxed);  // of the line that begins when it is gone
            if (StartMissing()) _run.Wake();
            continue;
        }
        if (!IsSynchronous(0)) StartMissing();
        const HRESULT hr = IsSynchronous(3) || flights.Count() > 0
                               ? RunFlights(nCycle)
                               : RunPass({}, bFirstFrame.load(std::memory_order_relaxed), nCycle, _run.StopEvent());
        if (hr == ZR_E_RETRY) {
            _run.Wake();
            continue;
        }
        ++nCycle;
        bFirstFrame.store(false, std::memory_order_relaxed);
        if (hr == ZR_E_NOT_RUNNING) continue;
        // What was wrong with one frame, memory or a source, may be right with the next.
        if (hr != S_OK) WaitAny({&_run.StopEvent(), &evStop}, kNextTry);
        _run.Wake();  // the cycle goes on by itself: the pace comes from the output
    }
}

// Tries again, not too often, to start producers that the system had no thread for. True: there are such still.
bool MixCycle::StartMissing() {
    if (!producers.IsMissingOne()) return false;
    if (WaitOne(evStop, kNextTry)) return false;
    producers.Update();
    return producers.IsMissingOne();
}

// One pass at a time, whichever thread it comes from; none once the mixer is to stop, as nothing would pace it.
HRESULT MixCycle::RunPass(const FramePtr& _pFrameIn, bool _bFirst, int64_t _nCycle, ManualEvent& _evStop) {
    if (WaitAny({&_evStop, &evStop, &evDriver}, -1) < 2) return ZR_E_NOT_RUNNING;
    const MixerState::Work work(parts.state);
    const HRESULT hr = InterfaceCall([&] {
        PASS pass;
        // What is asked of sources comes within the pass.
        const HRESULT hrStraight = IsSynchronous(0) ? S_FALSE : MakeStraight(pass, _pFrameIn, GoesStraight());
        if (hrStraight == S_FALSE) return DoMixing_I(_pFrameIn, _bFirst, _nCycle);
        return Succeeded(hrStraight) ? SendPass(pass) : hrStraight;
    });
    CountFailure(hr);
    evDriver.Set();
    return hr;
}

void MixCycle::CountFailure(HRESULT _hr) {
    if (Succeeded(_hr) || _hr == ZR_E_RETRY || _hr == ZR_E_NOT_RUNNING) return;
    parts.statistics.AddCount(nMixFailed, 1);
    clock.SetBreakPending();  // its place on the line may stay empty
}

HRESULT MixCycle::DriveCycle(const FramePtr& _pFrame, ManualEvent& _evStop) {
    HRESULT hr = ZR_E_RETRY;
    while (hr == ZR_E_RETRY) hr = RunPass(_pFrame, false, 0, _evStop);
    return hr;
}

// A background that is all there is on a mixer that runs. A paused one makes frames of its own.
bool MixCycle::GoesStraight() const {
    if (!parts.props.Root()->AttributeOr(u"background.direct_out", false)) return false;
    if (parts.state.Get() != eZrS_Running || parts.streams.Count() > 0) return false;
    const ZrPtr<CCoZrItem> pBackground = parts.streams.Background();
    return pBackground && pBackground->Node()->AttributeOr(u"video", true) &&
           pBackground->Node()->AttributeOr(u"audio", true);
}

// The background's frame as it is, on the line of time of its source, which breaks where the mixer's begins and ends.
// S_FALSE: it is one to mix.
HRESULT MixCycle::MakeStraight(PASS& _pass, const FramePtr& _pFrame, bool _bStraight) {
    if (!_pFrame || !_bStraight) {
        bStraight = false;
        return S_FALSE;
    }
    HRESULT hr = _pFrame->ZrFClone(_pass.pFrame.Out(), eZrFC_Reference, eZrFCC_Default);
    if (Succeeded(hr)) hr = _pass.pFrame->ZrFTimeGet(&_pass.time);
    ZR_AV_PROPS props;
    if (Succeeded(hr)) hr = _pass.pFrame->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;
    if (!std::exchange(bStraight, true)) {
        MutexLock lock(mtxCycle);
        _pass.time.eFFlags = WithBreak(_pass.time.eFFlags);
        hr = _pass.pFrame->ZrFTimeSet(&_pass.time);
        clock.SetBreakPending();
        audioMixer.Reset();
    }
    if (Succeeded(hr)) parts.format.Note(eZrFT_Output, FormatOf(props));
    return Failed(hr) ? hr : S_OK;
}

HRESULT MixCycle::SendPass(PASS& _pass) {
    parts.output.Output(std::move(_pass.pFrame));
    EndPass(_pass);
    return S_OK;
}

bool MixCycle::StartsIt(const CCoZrItem& _item) const { return StartsSource(*parts.props.Object(), _item); }

HRESULT MixCycle::DoMixing_I(const FramePtr& _pFrameIn, bool _bFirst, int64_t _nCycle) {
    ApplyPriority(priorityOfPass);
    AnnounceFrame();
    if (evStop.IsSet()) return ZR_E_NOT_RUNNING;  // by a listener, perhaps
    Elapsed syncTimer;
    PASS pass;
    pass.bFirst = _bFirst;
    pass.nCycle = _nCycle;
    const bool bSync = IsSynchronous(0);
    FramePtr pBase = _pFrameIn;
    if (bSync) {
        const bool bHold = parts.state.Get() == eZrS_Paused;
        HRESULT hr = sync.Sync_Request(evStop, bHold, request);
        if (evStop.IsSet()) return ZR_E_NOT_RUNNING;  // by a listener of what the sources did, perhaps
        if (hr == S_FALSE && !audioMixer.EndsLoud()) {
            bStraight = false;
            audioMixer.Reset();
            WaitOne(evStop, kNoSourcesPause);
            return S_OK;
        }
        if (Failed(hr)) return hr;
        if (hr == S_FALSE) request.props = formatOnAir;
        pass.pRequest = &request;
        request.bStraight = GoesStraight();
        hr = sync.Sync_Put(request, &pBase, &pass.bMustCopy);
        if (Succeeded(hr)) hr = MakeStraight(pass, pBase, request.bStraight);
        if (hr != S_FALSE) return Failed(hr) ? hr : SendPass(pass);
        pass.bHasInputs = request.Count() > 0;
    } else if (const HRESULT hr = TakePushed(pass, pBase); Failed(hr)) {
        return hr;
    }
    // One that was skipped is nothing wrong: a scene that is not ready becomes so by the cycles.
    if (const HRESULT hr = MakeFrame(pass, pBase); hr != S_OK || pass.bSkipped) return hr;
    if (bSync) {
        parts.statistics.SetValue(nSyncFrames, cycleTimer.Ms());
        parts.statistics.SetValue(nSyncCycle, syncTimer.Ms());
    } else {
        parts.statistics.SetValue(nMixCycle, cycleTimer.Ms());
    }
    cycleTimer.Restart();
    parts.output.Output(std::move(pass.pFrame));
    parts.statistics.SetValue(nMixOutput, cycleTimer.Ms());
    EndPass(pass);
    return S_OK;
}

// S_FALSE: the output has neither picture nor sound.
HRESULT MixCycle::MakeFrame(PASS& _pass, const FramePtr& _pBase) {
    if (const HRESULT hr = TakeBaseFrame(_pass, _pBase); Failed(hr)) return hr;
    PrepareFrame(_pass);
    cycleTimer.Restart();
    if (const HRESULT hr = Compose(_pass); Failed(hr) || _pass.bSkipped) return hr;
    if (_pass.bBlack) {
        if (const HRESULT hr = TakeBlack(_pass); Failed(hr)) return hr;
    }
    if (!HasVideo(_pass.props) && !AudUsable(_pass.props.audProps)) return S_FALSE;
    return FinishFrame(_pass);
}

void MixCycle::EndPass(const PASS& _pass) {
    ++nFramesOut;
    draw.RaiseEvents(parts.events);
    EndTimedPause(_pass.time);
    parts.statistics.SetValue(nFpsMix, rateMeter.Stamp(ClockNow()));
}

// What the producers have pushed into the streams. It may be waited for, without the cycle lock: a pass works on what
// it has collected.
HRESULT MixCycle::TakePushed(PASS& _pass, const FramePtr& _pFrameIn) {
    const eZrState eState = parts.state.Get();
    _pass.bMustCopy = true;
    if (eState < eZrS_Paused) return S_OK;
    const AsyncMixer::CYCLE cycle{_pFrameIn, eState == eZrS_Paused, parts.output.IsPacedByReceiver(), &evStop};
    const HRESULT hr = async.Async_Request(cycle, request, &_pass.bLocked);
    _pass.pRequest = &request;
    _pass.bHasInputs = request.Count() > 0 || parts.streams.Background();
    return hr;
}

void MixCycle::ApplyPriority(THREAD_PRIORITY& _priority) {
    const XMLNodePtr& pObject = parts.props.Object();
    if (!pObject->AttributeOr(u"threads.priority_on", false)) return;
    const int32_t nWanted = pObject->AttributeOr(u"threads.priority_max", 15);
    const uint32_t nThread = CurrentThreadId();
    if (nWanted == _priority.nPriority && nThread == _priority.nThread) return;
    _priority = {nWanted, nThread};
    SetCurrentThreadPriority(nWanted);
    parts.output.SetPriority(nWanted);
}

// A host that changes the show at a frame of its choice does so now.
void MixCycle::AnnounceFrame() {
    if (parts.state.Get() < eZrS_Paused || !parts.props.Object()->AttributeOr(u"on_mix.event", false)) return;
    std::u16string number;
    AppendInt(number, nFramesOut);
    parts.events.RaiseEvent(parts.state.name.Get()->c_str(), u"mix", number.c_str(), nullptr);
}

// The frame that the pass works on: the background's, or one of its own.
HRESULT MixCycle::TakeBaseFrame(PASS& _pass, const FramePtr& _pFrameIn) {
    if (_pass.pRequest) _pass.props = _pass.pRequest->props;
    if (!_pFrameIn) return MakeOwnFrame(_pass);
    const ZrPtr<CCoZrItem> pBackground = parts.streams.Background();
    const bool bVideo = !pBackground || pBackground->Node()->AttributeOr(u"video", true);
    const bool bAudio = !pBackground || pBackground->Node()->AttributeOr(u"audio", true);
    // Nothing draws on a frame that only passes through, so its picture is shared even where it must not be changed.
    const uint32_t nParts = eZrFC_Reference & ~(bAudio ? 0u : uint32_t{eZrFC_Audio});
    HRESULT hr = _pFrameIn->ZrFClone(_pass.pFrame.Out(), static_cast<eZrFrameClone>(nParts), eZrFCC_Default);
    if (Succeeded(hr)) hr = _pass.pFrame->ZrFTimeGet(&_pass.time);
    ZR_AV_PROPS propsFrame;
    if (Succeeded(hr)) hr = _pass.pFrame->ZrFAVPropsGet(&propsFrame, nullptr);
    if (Failed(hr)) return hr;
    // A background of sound alone stands on black where the output is to have a picture.
    const bool bSoundAlone = !PropsValid(&propsFrame.vidProps, true) && HasVideo(parts.format.Wanted());
    if (bSoundAlone || (!bVideo && PropsValid(&_pass.props.vidProps, true))) {
        const FramePtr pSound = std::move(_pass.pFrame);
        hr = MakeOwnFrame(_pass);
        if (Failed(hr)) return hr;
        int32_t cbAudio = 0;
        int64_t pbAudio = 0;
        pSound->ZrFAudioGetBytes(&cbAudio, &pbAudio);
        if (cbAudio > 0) _pass.pFrame->ZrFAudioSet(&propsFrame.audProps, cbAudio, pbAudio);
        pSound->ZrFTimeGet(&_pass.time);
        _pass.bOwn = false;
    } else {
        _pass.props.vidProps = propsFrame.vidProps;  // a background may be of another size
    }
    _pass.bBaseBreak = (_pass.time.eFFlags & eZrFF_Break) != 0;
    // Its sound becomes that of the output, in which the streams are kept.
    CompleteAudioByFrame(propsFrame.audProps, _pass.props.audProps);
    return S_OK;
}

HRESULT MixCycle::MakeOwnFrame(PASS& _pass) {
    if (!_pass.pRequest) {
        _pass.props = parts.format.Wanted();
        CompleteByDefault(_pass.props);
    }
    IZrFFactory* pFactory = nullptr;
    HRESULT hr = FrameFactory(&pFactory);
    if (Succeeded(hr)) hr = pFactory->ZrFFrameCreatePlain(0, _pass.pFrame.Out());
    if (Failed(hr)) return hr;
    _pass.pFrame->ZrFTimeGet(&_pass.time);
    StampByCycle(_pass.nCycle, ExactDuration(_pass.props.vidProps), _pass.time);
    MarkFirst(_pass);
    _pass.bOwn = true;
    _pass.bBlack = HasVideo(_pass.props);
    return S_OK;
}

void MixCycle::MarkFirst(PASS& _pass) {
    if (_pass.bFirst) _pass.time.eFFlags = WithBreak(_pass.time.eFFlags);
}

// The flags of the source say nothing about the output: its line is the mixer's own.
void MixCycle::PrepareFrame(PASS& _pass) {
    if (_pass.bOwn) return;
    _pass.time.eFFlags = static_cast<eZrFrameFlags>(_pass.time.eFFlags & ~uint32_t{eZrFF_Pause | eZrFF_Last});
    int32_t cbAudio = 0;
    int64_t pbAudio = 0;
    _pass.pFrame->ZrFAudioGetBytes(&cbAudio, &pbAudio);
    if (cbAudio > 0 || (_pass.time.eFFlags & eZrFF_Live)) return;
    StampByCycle(_pass.nCycle, ExactDuration(_pass.props.vidProps), _pass.time);
    MarkFirst(_pass);
}

// From collection to the end of the audio step, under the cycle lock. When the last input has gone, what was heard ends
// in one more frame.
HRESULT MixCycle::Compose(PASS& _pass) {
    MutexLock lock(mtxCycle);
    if (parts.state.Get() < eZrS_Paused || (!_pass.bHasInputs && !audioMixer.EndsLoud())) {
        MarkFirst(_pass);
        if (!bOffLine) _pass.time.eFFlags = WithBreak(_pass.time.eFFlags);
        bOffLine = true;
        clock.SetBreakPending();
        audioMixer.Reset();
        return S_OK;
    }
    bOffLine = false;
    if (evStop.IsSet()) return ZR_E_NOT_RUNNING;
    CollectStreams(_pass);
    Stamp(_pass);
    formatOnAir = _pass.props;
    if (HasVideo(_pass.props)) DrawScene(_pass);
    MarkConsumed(_pass);
    Elapsed elapsed;
    MixAudio(_pass);
    parts.statistics.SetValue(nMixAudio, elapsed.Ms());
    return S_OK;
}

void MixCycle::Stamp(PASS& _pass) {
    const int32_t nPauseChanges = parts.props.Root()->AttributeOr(u"pause_changes", 1);
    const MIX_STAMP stamp = _pass.stamp =
        clock.Stamp(parts.state.Get(), nPauseChanges, ExactDuration(_pass.props.vidProps));
    _pass.time.rtStartTime = stamp.rtStartTime;
    _pass.time.rtEndTime = stamp.rtEndTime;
    if (stamp.bBreak) _pass.time.eFFlags = WithBreak(_pass.time.eFFlags);
    if (_pass.bLocked) _pass.time.eFFlags = static_cast<eZrFrameFlags>(_pass.time.eFFlags | eZrFF_Live);
}

// What each stream of the pass gives beside its picture. The captions of one stream go out: those that a block asks for
// before any others.
void MixCycle::CollectStreams(PASS& _pass) {
    if (!_pass.pRequest) return;
    int32_t nLevel = 0;  // of captions: those of a higher one replace the others
    for (size_t i = 0; i < _pass.pRequest->Count(); ++i) {
        ZrMixerStream* const pStream = (*_pass.pRequest)[i].input.pStream.Get();
        if (!pStream) continue;
        pStream->ResetGains();
        if (!HasVideo(_pass.props)) pStream->AddGains(0, 1);  // there is no scene that could say how loud it is
        if (pStream->CaptionLevel() <= nLevel) continue;
        nLevel = pStream->CaptionLevel();
        pStream->TakeCaptions(_pass.pFrame.Get());
    }
}

// The streams may be given their next frames. One of them gives the output its time code.
void MixCycle::MarkConsumed(PASS& _pass) {
    if (!_pass.pRequest) return;
    const int64_t rtFrame = FrameDurationOfRate(_pass.props.vidProps.dblRate).rtDuration;
    const int32_t nTimecode = parts.props.Object()->AttributeOr(u"timecode.source_idx", 0);
    for (size_t i = 0; i < _pass.pRequest->Count(); ++i) {
        const MIX_INPUT& input = (*_pass.pRequest)[i].input;
        if (!input.pStream) continue;
        ZR_TIME time;
        input.pStream->MarkConsumed(ZrMixerStream::kKeepWaitState, rtFrame, &time);
        if (input.nIndex == nTimecode) _pass.time.tcFrame = time.tcFrame;
    }
}

// The scene over the base frame; where it shows nothing, the base is the picture as it is.
void MixCycle::DrawScene(PASS& _pass) {
    if (!_pass.pRequest) return;
    arrDraw.clear();
    for (size_t i = 0; i < _pass.pRequest->Count(); ++i) {
        const MIX_INPUT& input = (*_pass.pRequest)[i].input;
        if (input.pStream) arrDraw.push_back({input.pStream.Get(), input.pStream->Id(), input.nIndex});
    }
    bool bReady = true;
    {
        CRWReadScope lock(parts.scenes.Shared().lock);
        const ElementPtr pScene = parts.scenes.Active();  // under the lock, or it might have been left by now
        const DRAW_TIMES times{_pass.stamp.dblDrawTime / 1e7, _pass.stamp.dblCollectTime / 1e7};
        bReady = draw.WalkScene(_pass.props.vidProps, arrDraw, times, pScene.Get(), parts.scenes.Shared().Changes());
    }
    parts.scenes.Shared().TakeDiscarded();  // by the walk itself
    // As for sources that start: an output that keeps to its rate shows later what comes later.
    const int64_t rtFrame = FrameDurationOfRate(_pass.props.vidProps.dblRate).rtDuration;
    const bool bPaced = !IsSynchronous(0) || _pass.pRequest->bMaySkip;
    draw.WaitMasks(evStop, bPaced ? rtFrame / 4 : -1);
    draw.MakePictures();
    if (!bReady && parts.props.Object()->AttributeOr(u"output.skip_if_not_ready", false)) {
        clock.SetBreakPending();
        _pass.props = {};
        _pass.bSkipped = true;
        return;
    }
    FramePtr pPicture;
    if (draw.Compose(_pass.bBlack ? nullptr : _pass.pFrame.Get(), &pPicture) == S_OK)
        TakePicture(_pass, pPicture.Get());
}

HRESULT MixCycle::TakePicture(PASS& _pass, IZrFFrame* _pFrom) {
    const ZrPtr<IZrFrame_I> pFrame = _pass.pFrame.As<IZrFrame_I>();
    const HRESULT hr = pFrame ? pFrame->FramePictureTake(_pFrom) : E_NOINTERFACE;
    if (Succeeded(hr)) _pass.bBlack = false;
    return hr;
}

// Black is filled once and then referenced.
HRESULT MixCycle::TakeBlack(PASS& _pass) {
    ZR_AV_PROPS props;
    if (pBlack) pBlack->ZrFAVPropsGet(&props, nullptr);
    const ZR_VID_PROPS& wanted = _pass.props.vidProps;
    if (!pBlack || props.vidProps.fccType != wanted.fccType || props.vidProps.nWidth != wanted.nWidth ||
        props.vidProps.nHeight != wanted.nHeight || props.vidProps.nRowBytes != wanted.nRowBytes) {
        IZrFFactory* pFactory = nullptr;
        HRESULT hr = FrameFactory(&pFactory);
        props = {};
        props.vidProps = wanted;
        if (Succeeded(hr)) hr = pFactory->ZrFFrameCreateFromMem(&props, 0, 0, 0, pBlack.Out(), nullptr);
        if (Failed(hr)) return hr;
    }
    return TakePicture(_pass, pBlack.Get());
}

// As many samples as the line of time says, but for a background that brings its own sound. They are left out with a
// frame that is left out.
void MixCycle::MixAudio(PASS& _pass) {
    const ZR_AUD_PROPS& audProps = formatOnAir.audProps;
    int64_t nClock = 0;
    audioCalc.SamplesByTime(audProps, _pass.time, eZrFF_None, kAudioGapLimit, &nClock);
    arrSound.clear();
    for (size_t i = 0; _pass.pRequest && i < _pass.pRequest->Count(); ++i) {
        const MIX_INPUT& input = (*_pass.pRequest)[i].input;
        if (input.pStream) arrSound.push_back({input.pStream.Get(), input.pItem.Get()});
    }
    if (_pass.bSkipped) {
        audioMixer.Skip(audProps, nClock, arrSound);
    } else {
        audioMixer.DoMixing_I(*_pass.pFrame, parts.streams.Background().Get(), audProps, nClock, _pass.bBaseBreak,
                              arrSound, *parts.props.Object());
    }
}

HRESULT MixCycle::FinishFrame(PASS& _pass) {
    ProcessAudio(*_pass.pFrame);
    ZR_AV_PROPS props;  // the sound as it is: a frame without says so
    HRESULT hr = _pass.pFrame->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;
    props.vidProps = _pass.props.vidProps;
    props.bLocked = _pass.bLocked;
    props.ancData = {};
    hr = _pass.pFrame->ZrFAVPropsSet(&props, nullptr);
    if (Succeeded(hr)) hr = _pass.pFrame->ZrFTimeSet(&_pass.time);
    if (Failed(hr)) return hr;
    parts.format.Note(eZrFT_Output, FormatOf(props));
    FinishAudio(*_pass.pFrame);
    return S_OK;
}

// The tracks; what they make of the sound may have other channels.
void MixCycle::ProcessAudio(IZrFFrame& _frame) {
    const XMLNodePtr& pObject = parts.props.Object();
    bTracks = pObject->AttributeOr(u"izraudio.enabled", true);
    if (!bTracks) {
        parts.tracks.Pass(_frame, true);
        return;
    }
    parts.tracks.LoudnessSet(pObject->AttributeOr(u"izraudio.loudness", false));
    parts.tracks.Audio_Process(_frame);
}

// The mixer's own gains, and the levels on both sides of all.
void MixCycle::FinishAudio(IZrFFrame& _frame) {
    const XMLNodePtr& pObject = parts.props.Object();
    audioKeys.Apply(_frame, *pObject);
    if (!bTracks) return;
    ZR_AUDIO_LOUDNESS original{};
    parts.tracks.AppendLevelsIn(&original);
    frameLevels.LoudnessSet(pObject->AttributeOr(u"izraudio.loudness", false));
    frameLevels.MeasureOutput(_frame, original);
}

// A timed pause is counted in frames. Two events go out: the streams have been resumed, and the mixer runs.
void MixCycle::EndTimedPause(const ZR_TIME& _time) {
    bool bEnded = false;
    if (!parts.state.lock.TryEnterWrite(kEndOfPauseLabel)) return;
    if (parts.state.rtPauseRemainder > 0 && parts.state.Get() == eZrS_Paused) {
        parts.state.rtPauseRemainder -= _time.rtEndTime - _time.rtStartTime;
        if (parts.state.rtPauseRemainder < 1) {
            parts.state.rtPauseRemainder = 0;
            parts.links.PauseAll(-1.0);  // here, before another pause can begin
            parts.state.Set(eZrS_Running);
            bEnded = true;
        }
    }
    parts.state.lock.LeaveWrite();
    if (!bEnded) return;
    const auto pName = parts.state.name.Get();
    parts.events.RaiseEvent(pName->c_str(), u"pause", u"pause-done", nullptr);
    parts.events.RaiseEvent(pName->c_str(), u"pause", u"pause-done", nullptr);
}

}  // namespace zr
