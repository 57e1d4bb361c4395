#include "mixer/sync_mixer.h"

#include <algorithm>
#include <string>

#include "attributes/interface_call.h"
#include "media/aud_props.h"
#include "media/frame_time.h"
#include "media/vid_props.h"
#include "mixer/deferred_events.h"
#include "mixer/elapsed.h"
#include "mixer/feedback.h"
#include "mixer/mix_clock.h"
#include "mixer/output_format.h"
#include "mixer/source_frame.h"
#include "mixer/source_keys.h"
#include "platform/clock.h"
#include "zr/format.h"

namespace zr {
namespace {

constexpr int32_t kDefaultGetMaxWait = 250;       // ms
constexpr int64_t kGetSlice = 100 * kTicksPerMs;  // between two looks at the stop event
constexpr int64_t kNap = 20 * kTicksPerMs;        // before a source that did not wait is asked again
constexpr int64_t kStartLimit = kTicksPerSecond;  // that a stop waits for a source that is being started
constexpr int64_t kDefaultSkipFrame = 400'000;    // ticks: of a frame whose rate nobody knows
constexpr int64_t kQuick = kTicksPerMs / 20;      // what took less the last time is done without the pool
constexpr int64_t kQuickShare = kTicksPerMs / 5;  // of a cycle, for all such together
constexpr const char16_t* kSkippedPicture = u"_skipped_vid_";

// A repeat of a frame whose source gave nothing new: the picture without its sound, which would stutter. It does not
// come live: the output would take its pace from it.
FramePtr RepeatOf(const FramePtr& _pFrame) {
    FramePtr pRepeat = BreakClone(_pFrame, eZrFC_VideoRef);
    ZR_TIME time;
    if (!pRepeat || Failed(pRepeat->ZrFTimeGet(&time))) return pRepeat;
    time.eFFlags = static_cast<eZrFrameFlags>(time.eFFlags & ~uint32_t{eZrFF_Live});
    pRepeat->ZrFTimeSet(&time);
    return pRepeat;
}

}  // namespace

SyncMixer::SyncMixer(const XMLNodePtr& _pObject, ObjectFormat& _format, StreamTable& _streams,
                     IStatisticsSink& _statistics, IEventSink& _events, IUnknown& _self)
    : pObject(_pObject),
      format(_format),
      streams(_streams),
      statistics(_statistics),
      events(_events),
      self(_self),
      runner(_pObject, _statistics),
      nTakeFrames(_statistics.Resolve(u"sync.take_frames")),
      nPutFrames(_statistics.Resolve(u"sync.put_frames")) {}

HRESULT SyncMixer::Sync_Request(ManualEvent& _evStop, bool _bHold, SyncRequest& _request) {
    Elapsed elapsed;
    DeferredEvents raised(events);
    _request.Release();
    _request.props = format.Wanted();
    bNewStarts = false;
    ReadKeys();
    _request.bMaySkip = bPaced;
    for (const auto& pSource : arrSources) {
        pSource->arrSteps.clear();
        pSource->bMaster = pSource->bWanted = false;
    }
    {
        MutexLock lock(streams.mtxChange);
        streams.Collect(arrInputs);
    }
    IUnknown* pBackground = nullptr;
    for (const MIX_INPUT& input : arrInputs) {
        if (input.pStream && !input.pStream->IsOpen()) continue;
        SyncSource* const pSource = FindOrAddSource(input.pItem, _request, raised);
        if (!pSource) continue;
        if (!input.pStream) pBackground = input.pItem->Source();
        pSource->bMaster |= input.pItem->Node()->AttributeOr(u"master", false);
        pSource->bWanted |= !input.pStream || !input.pStream->IsPaused();
        AddStep(input, *pSource, input.pStream ? pBackground : nullptr, _request);
    }
    arrInputs.clear();
    // A show begins with all its sources, and an output without a pace of its own waits for each. One that keeps to its
    // rate waits for a part of a frame only: who comes later is seen later.
    const int64_t rtFrame = FrameDurationOfRate(_request.props.vidProps.dblRate).rtDuration;
    if (bNewStarts) WaitStarted(&_evStop, bPaced && bOnAir ? rtFrame / 4 : -1);
    GetAll(_evStop, _bHold);
    RemoveUnused(raised);
    if (_request.Count() == 0) return S_FALSE;
    for (const auto& pSource : arrSources) HandOut(*pSource);
    CompleteFormat(_request);
    bOnAir = true;
    statistics.SetValue(nTakeFrames, elapsed.Ms());
    return S_OK;
}

void SyncMixer::ReadKeys() {
    putKeys.nScalingQuality = pObject->AttributeOr(u"scaling_quality.blocks", 2);
    putKeys.bForceMaster = pObject->AttributeOr(u"locked.force_master", false);
    putKeys.bShowLastFrame = pObject->AttributeOr(u"elements.show_last_frame", true);
    bPaced = pObject->AttributeOr(u"rate_control", 3) != 0;
}

// The frames of all sources of a cycle. One whose users are all paused shows its last frame, so that nothing of it is
// lost; before it has one, it is asked all the same. The pool asks those that may keep one waiting, all at a time; what
// the others have ready is taken here, which costs less than to wake a thread.
void SyncMixer::GetAll(ManualEvent& _evStop, bool _bHold) {
    SyncSource* pHere = nullptr;  // waited for on this thread, while the pool asks the others
    const bool bAsync = pObject->AttributeOr(u"sync_mode.async_get", true);
    const auto AskBesides = [&](SyncSource& _source) {
        if (bAsync && !pHere) {
            pHere = &_source;
        } else {
            StartGet(_source, _evStop, bAsync);
        }
    };
    arrReady.clear();
    for (const auto& pSource : arrSources) {
        pSource->pFrame.Reset();
        if (pSource->arrSteps.empty() || pSource->IsStarting()) continue;
        pSource->bHeld = (_bHold || !pSource->bWanted) && pSource->pLastFrame;
        if (pSource->bHeld) {
            pSource->pFrame = RepeatOf(pSource->pLastFrame);
        } else if (bAsync && pSource->nTimeouts < 1 && pSource->rtLastGet < kQuick) {
            arrReady.push_back(pSource.get());
        } else {
            AskBesides(*pSource);
        }
    }
    const int64_t rtUntil = ClockNow() + kQuickShare;
    for (SyncSource* pSource : arrReady)
        if (ClockNow() >= rtUntil || !GetReady(*pSource)) AskBesides(*pSource);
    if (pHere) Get(*pHere, _evStop);
    if (groupGet.Wait(&_evStop, -1) != 0) return;
    // A get under way ends with its reader.
    for (const auto& pSource : arrSources) {
        if (const uint64_t ll = pSource->llReaderID.load()) pSource->pItem->Pulled()->ReaderRemove(ll);
    }
    groupGet.Wait(nullptr, -1);
}

// Gives the frame of a source to its steps. A paused stream keeps the picture that it has.
void SyncMixer::HandOut(SyncSource& _source) {
    for (RequestStep* pStep : _source.arrSteps) {
        const MixerStreamPtr& pStream = pStep->input.pStream;
        if (_source.bHeld && pStream && pStream->LastFrame()) continue;
        pStep->pFetched = _source.pFrame;
    }
}

// Null when the object cannot be pulled.
SyncSource* SyncMixer::FindOrAddSource(const ZrPtr<CCoZrItem>& _pItem, const SyncRequest& _request,
                                       IEventSink& _events) {
    if (!_pItem->Pulled()) return nullptr;
    IUnknown* const pIdentity = _pItem->Source();
    for (const auto& pSource : arrSources) {
        if (pSource->pItem->Source() != pIdentity) continue;
        AskForRate(*pSource, _request);
        return pSource.get();
    }
    arrSources.reserve(arrSources.size() + 1);  // once it is being started it must stay
    auto pSource = std::make_unique<SyncSource>();
    pSource->pItem = _pItem;
    pSource->name = _pItem->Name();
    if (pSource->name.empty()) pSource->name = u"Unknown";
    SetSourcePriority(*pObject, *_pItem, SourcePlace::Connected);
    if (IZrProps* const pProps = _pItem->SourceProps()) {
        BSTR bs = nullptr;
        if (pProps->PropsGet(u"object::rate_control", &bs) == S_OK) pSource->rateControl = TextArgument(bs);
        SysFreeString(bs);
        // From now on only the mixer sets its pace. Who has done so before, another mixer or the host, undoes it too.
        // A mixer that shows this one keeps its own: of two that show each other one has to have a pace.
        pSource->bPaceTaken = pSource->rateControl != u"0" && !Shows(pIdentity, self);
        if (pSource->bPaceTaken) pProps->PropsSet(u"object::rate_control", u"0");
    }
    // The reader first: not one frame is lost when the source starts.
    uint64_t llReader = 0;
    _pItem->Pulled()->SourceFrameGetEx_I(&llReader, 0, nullptr, nullptr);
    pSource->llReaderID.store(llReader);
    AskForRate(*pSource, _request);
    if (StartsSource(*pObject, *_pItem)) StartSource(*pSource);
    _events.RaiseEvent(pSource->name.c_str(), u"source_connected", pSource->name.c_str(), _pItem->Source());
    arrSources.push_back(std::move(pSource));
    return arrSources.back().get();
}

void SyncMixer::StartSource(SyncSource& _source) {
    if (!_source.pItem->CanStart()) return;
    bNewStarts = true;
    _source.pStart = StartOnPool(_source.pItem);
}

// Until all have started, or so long. _pevStop may be null.
void SyncMixer::WaitStarted(ManualEvent* _pevStop, int64_t _rtLimit) {
    const int64_t rtDeadline = DeadlineAfter(ClockNow(), _rtLimit);
    for (const auto& pSource : arrSources) {
        if (pSource->IsStarting() && WaitAnyUntil({_pevStop, &pSource->pStart->evEnded}, rtDeadline) != 1) return;
    }
}

// Has a source that was given no format of its own play at the rate of the output, and into its fields.
void SyncMixer::AskForRate(SyncSource& _source, const SyncRequest& _request) {
    const double dblRate = _request.props.vidProps.dblRate;
    const int32_t nFields = InterlaceClass(&_request.props.vidProps);
    const bool bAsked = dblRate == _source.dblRateAsked && nFields == _source.nFieldsAsked;
    if (dblRate <= 0 || bAsked || !pObject->AttributeOr(u"sync_mode.control_fps", true)) return;
    _source.dblRateAsked = dblRate;
    _source.nFieldsAsked = nFields;
    const ZrPtr<IZrFormat> pFormat = QueryAs<IZrFormat>(_source.pItem->Source());
    ZR_VID_PROPS props;
    if (!pFormat || Failed(pFormat->FormatVideoGet(eZrFT_Convert, &props, nullptr, nullptr))) return;
    if (props.eVideoFormat != eZrVF_Custom || props.nWidth != 0) return;
    props.dblRate = dblRate;
    props.eInterlace = nFields == 0 ? eZrI_Progressive : nFields > 0 ? eZrI_Field1First : eZrI_Field2First;
    pFormat->FormatVideoSet(eZrFT_Convert, &props);
}

void SyncMixer::StartGet(SyncSource& _source, ManualEvent& _evStop, bool _bAsync) {
    if (_bAsync &&
        Succeeded(ThreadPool::Shared().Submit([this, &_source, &_evStop] { Get(_source, _evStop); }, &groupGet))) {
        return;
    }
    Get(_source, _evStop);
}

// Memory that is out costs the frame.
void SyncMixer::Get(SyncSource& _source, ManualEvent& _evStop) {
    InterfaceCall([&] {
        const int64_t rtBegin = ClockNow();
        FramePtr pFrame;
        const HRESULT hr = AskAndWait(_source, _evStop, pFrame);
        _source.rtLastGet = ClockNow() - rtBegin;
        Accept(_source, hr, std::move(pFrame));
        return S_OK;
    });
}

// False: it has no frame ready, and is to be waited for.
bool SyncMixer::GetReady(SyncSource& _source) {
    const HRESULT hr = InterfaceCall([&] {
        const int64_t rtBegin = ClockNow();
        FramePtr pFrame;
        const HRESULT hrAsked = Ask(_source, 0, true, pFrame);
        _source.rtLastGet = ClockNow() - rtBegin;
        if (hrAsked != ZR_E_TIMEOUT) Accept(_source, hrAsked, std::move(pFrame));
        return hrAsked;
    });
    return hr != ZR_E_TIMEOUT;
}

// _bRenew: a source that has dropped the reader gets a new one.
HRESULT SyncMixer::Ask(SyncSource& _source, int64_t _rtLimit, bool _bRenew, FramePtr& _pFrame) {
    IZrSource_I* const pPulled = _source.pItem->Pulled();
    uint64_t llReader = _source.llReaderID.load();
    HRESULT hr = pPulled->SourceFrameGetEx_I(&llReader, _rtLimit, _pFrame.Out(), nullptr);
    if (hr == ZR_E_NOT_FOUND && _bRenew) {
        llReader = 0;
        hr = pPulled->SourceFrameGetEx_I(&llReader, _rtLimit, _pFrame.Out(), nullptr);
    }
    _source.llReaderID.store(llReader);
    return hr;
}

// In slices: a source knows nothing of the stop, which is not to wait for its limit.
HRESULT SyncMixer::AskAndWait(SyncSource& _source, ManualEvent& _evStop, FramePtr& _pFrame) {
    const int32_t nMaxWaitMs = pObject->AttributeOr(u"sync_mode.get_max_wait", kDefaultGetMaxWait);
    const bool bUnlimited = nMaxWaitMs < 0;
    int64_t rtLeft = !bUnlimited && _source.nTimeouts < 1 ? nMaxWaitMs * kTicksPerMs : 0;
    for (;;) {
        const int64_t rtSlice = bUnlimited ? kGetSlice : std::min(rtLeft, kGetSlice);
        const int64_t rtAsked = ClockNow();
        const HRESULT hr = Ask(_source, rtSlice, !_evStop.IsSet(), _pFrame);
        rtLeft -= rtSlice;
        if (hr != ZR_E_TIMEOUT || _evStop.IsSet() || (!bUnlimited && rtLeft <= 0)) return hr;
        // One that does not wait itself.
        if (bUnlimited) WaitOne(_evStop, std::clamp<int64_t>(rtAsked + rtSlice - ClockNow(), 0, kNap));
    }
}

// One frame of a source. One that stops answering costs its limit once and nothing from then on, until it answers.
// nTimeouts: 0 or less it answers, above 0 it does not.
void SyncMixer::Accept(SyncSource& _source, HRESULT _hr, FramePtr _pFrame) {
    if (_hr == ZR_E_TIMEOUT) {
        _source.nTimeouts = _source.nTimeouts >= 0 ? _source.nTimeouts + 1 : 1;
    } else {
        _source.nTimeouts = _source.nTimeouts < 1 ? 0 : -1;
    }
    if (Failed(_hr) || !_pFrame) {
        _source.pFrame = RepeatOf(_source.pLastFrame);
        return;
    }
    _source.pFrame = _source.pLastFrame ? _pFrame : BreakClone(_pFrame, eZrFC_Reference);
    _source.pLastFrame = std::move(_pFrame);
}

void SyncMixer::AddStep(const MIX_INPUT& _input, SyncSource& _source, IUnknown* _pBackground, SyncRequest& _request) {
    RequestStep& step = _request.Add();
    step.input = _input;
    step.put = putKeys;
    step.put.output = _request.props;
    step.bMustCopy = false;
    const XMLNodePtr& pNode = _input.pItem->Node();
    // What lies under everything is not shown again above it.
    const bool bUnder = _pBackground && _pBackground == _input.pItem->Source();
    if (bUnder || !pNode->AttributeOr(u"video", true)) step.put.output.vidProps.eVideoFormat = eZrVF_Disabled;
    if (!pNode->AttributeOr(u"audio", true)) step.put.output.audProps.nChannels = -1;
    _source.arrSteps.push_back(&step);
}

// What the output is to be when nobody has said so: as the frames that came.
void SyncMixer::CompleteFormat(SyncRequest& _request) {
    AV_FORMAT& props = _request.props;
    for (size_t i = 0; i < arrSources.size() && !IsWhole(props); ++i) {
        ZR_AV_PROPS propsFrame;
        const FramePtr& pFrame = arrSources[i]->pFrame;
        if (pFrame && Succeeded(pFrame->ZrFAVPropsGet(&propsFrame, nullptr)))
            CompleteByFrame(FormatOf(propsFrame), props);
    }
    CompleteByDefault(props);
    for (size_t i = 0; i < _request.Count(); ++i) {
        AV_FORMAT& output = _request[i].put.output;
        if (output.vidProps.eVideoFormat != eZrVF_Disabled) output.vidProps = props.vidProps;
        if (output.audProps.nChannels != -1) output.audProps = props.audProps;
    }
}

// Gives a step its own reference to the frame. False: there is none. A stream whose last put took more than half of the
// frame's time goes without the picture this time, if frames have a time to keep to.
bool SyncMixer::PrepareStep(RequestStep& _step, const SyncRequest& _request) {
    if (!_step.pFetched) return false;
    const MixerStreamPtr& pStream = _step.input.pStream;
    const double dblRate = _request.props.vidProps.dblRate;
    const int64_t rtFrame = dblRate > 0 ? FrameDurationOfRate(dblRate).rtDuration : kDefaultSkipFrame;
    _step.put.bSkipped = _request.bMaySkip && pStream && pStream->LastPutTime() > rtFrame / 2;
    _step.put.bMakeLater = true;
    _step.bMustCopy = true;
    _step.bAsItIs = _request.bStraight;
    const eZrFrameClone eParts = _step.put.bSkipped ? eZrFC_ObjData_Audio : eZrFC_Reference;
    const HRESULT hr = _step.pFetched->ZrFClone(_step.pSourceFrame.Out(), eParts, eZrFCC_Default);
    if (Succeeded(hr) && _step.put.bSkipped) {
        _step.pSourceFrame->ZrFStrSet(kSkippedPicture, u"");
        pStream->CountSkipped();
    }
    return Succeeded(hr);
}

void SyncMixer::StartPut(RequestStep& _step) {
    if (Failed(ThreadPool::Shared().Submit([this, &_step] { runner.Run(_step); }, &groupPut))) runner.Run(_step);
}

HRESULT SyncMixer::Sync_Put(SyncRequest& _request, FramePtr* _ppBackground, bool* _pbMustCopy) {
    Elapsed elapsed;
    _ppBackground->Reset();
    *_pbMustCopy = false;
    RequestStep* pBackground = nullptr;
    RequestStep* pHere = nullptr;  // the step that runs on this thread, beside those of the pool
    arrQuick.clear();
    for (size_t i = 0; i < _request.Count(); ++i) {
        RequestStep& step = _request[i];
        if (!PrepareStep(step, _request)) continue;
        if (step.IsBackground()) pBackground = &step;
        if (step.input.pStream && step.input.pStream->LastPutAlone() < kQuick) {
            arrQuick.push_back(&step);
        } else if (!pHere) {
            pHere = &step;
        } else {
            StartPut(step);
        }
    }
    // A stream that shows nothing costs less than to wake a thread for it. It may show something now: then it takes
    // longer, and those after it go to the pool.
    const int64_t rtUntil = ClockNow() + kQuickShare;
    for (RequestStep* pStep : arrQuick) {
        if (ClockNow() < rtUntil) {
            runner.Run(*pStep);
        } else {
            StartPut(*pStep);
        }
    }
    if (pHere) runner.Run(*pHere);
    groupPut.Wait(nullptr, -1);  // work on the pictures of this one frame, which waits for nobody
    if (pBackground && pBackground->pResult) {
        *_ppBackground = pBackground->pResult;
        *_pbMustCopy = pBackground->bMustCopy;
    }
    statistics.SetValue(nPutFrames, elapsed.Ms());
    return S_OK;
}

void SyncMixer::RemoveUnused(IEventSink& _events) {
    const auto IsUsed = [](const auto& _pSource) { return !_pSource->arrSteps.empty() || _pSource->IsStarting(); };
    if (std::all_of(arrSources.begin(), arrSources.end(), IsUsed)) return;
    const auto itUnused = std::stable_partition(arrSources.begin(), arrSources.end(), IsUsed);
    for (auto it = itUnused; it != arrSources.end(); ++it) RemoveSource(**it, _events);
    arrSources.erase(itUnused, arrSources.end());
}

void SyncMixer::RemoveSource(SyncSource& _source, IEventSink& _events) {
    if (IZrProps* const pProps = _source.pItem->SourceProps(); pProps && _source.bPaceTaken) {
        if (_source.rateControl.empty()) {
            pProps->PropsRemove(u"object::rate_control");
        } else {
            pProps->PropsSet(u"object::rate_control", _source.rateControl.c_str());
        }
    }
    SetSourcePriority(*pObject, *_source.pItem, SourcePlace::Waiting);
    if (const uint64_t ll = _source.llReaderID.load()) _source.pItem->Pulled()->ReaderRemove(ll);
    _events.RaiseEvent(_source.name.c_str(), u"source_disconnected", _source.name.c_str(), _source.pItem->Source());
}

void SyncMixer::RemoveSources(IEventSink& _events) {
    WaitStarted(nullptr, kStartLimit);
    bOnAir = false;
    for (const auto& pSource : arrSources) RemoveSource(*pSource, _events);
    arrSources.clear();
}

}  // namespace zr
