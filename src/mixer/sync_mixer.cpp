#include "mixer/sync_mixer.h"

#include <algorithm>
#include <string>

#include "attributes/interface_call.h"
#include "media/aud_props.h"
#include "media/frame_time.h"
#include "media/vid_props.h"
#include "mixer/elapsed.h"
#include "mixer/mix_clock.h"
#include "platform/clock.h"
#include "zr/format.h"

namespace zr {
namespace {

constexpr int32_t kDefaultGetMaxWait = 250;             // ms
constexpr int64_t kUnlimitedSlice = 100 * kTicksPerMs;  // between two looks at the stop event
constexpr ZR_AUD_PROPS kDefaultAudio{2, 48000, 16, 0};

ZrPtr<IUnknown> IdentityOf(IUnknown* _p) { return QueryAs<IUnknown>(_p); }

// A repeat of a frame whose source gave nothing new: the picture without its sound, which would stutter.
FramePtr RepeatOf(const FramePtr& _pFrame) {
    FramePtr pRepeat;
    ZR_TIME time;
    if (!_pFrame || Failed(_pFrame->ZrFClone(pRepeat.Out(), eZrFC_VideoRef, eZrFCC_Default)) ||
        Failed(pRepeat->ZrFTimeGet(&time))) {
        return {};
    }
    time.eFFlags = WithBreak(time.eFFlags);
    pRepeat->ZrFTimeSet(&time);
    return pRepeat;
}

}  // namespace

SyncMixer::SyncMixer(const XMLNodePtr& _pObject, ObjectFormat& _format, StreamTable& _streams,
                     IStatisticsSink& _statistics, IEventSink& _events)
    : pObject(_pObject),
      format(_format),
      streams(_streams),
      statistics(_statistics),
      events(_events),
      runner(_pObject, _statistics),
      nTakeFrames(_statistics.Resolve(u"sync.take_frames")),
      nPutFrames(_statistics.Resolve(u"sync.put_frames")) {}

HRESULT SyncMixer::Sync_Request(ManualEvent& _evStop, bool _bHold, SyncRequest** _ppRequest) {
    Elapsed elapsed;
    *_ppRequest = nullptr;
    request.Release();
    request.props = format.Wanted();
    for (const auto& pSource : arrSources) {
        pSource->arrSteps.clear();
        pSource->bMaster = false;
    }
    {
        MutexLock lock(streams.mtxChange);
        streams.Collect(arrInputs);
    }
    const bool bAsync = pObject->AttributeOr(u"sync_mode.async_get", true) && arrInputs.size() > 1;
    for (const MIX_INPUT& input : arrInputs) {
        SyncSource* const pSource = FindOrAddSource(input.pItem);
        if (!pSource) continue;
        pSource->bMaster |= input.pItem->Node()->AttributeOr(u"master", false);
        AskForRate(*pSource);
        if (pSource->arrSteps.empty()) {
            if (_bHold && pSource->pLastFrame) {
                pSource->pFrame = RepeatOf(pSource->pLastFrame);
            } else {
                StartGet(*pSource, _evStop, bAsync);
            }
        }
        AddStep(input, *pSource);
    }
    group.Wait(nullptr, -1);
    arrInputs.clear();
    RemoveUnused();
    if (request.Count() == 0) return S_FALSE;
    CompleteFormat();
    statistics.SetValue(nTakeFrames, elapsed.Ms());
    *_ppRequest = &request;
    return S_OK;
}

// Null when the object cannot be pulled.
SyncSource* SyncMixer::FindOrAddSource(const ZrPtr<CCoZrItem>& _pItem) {
    if (!_pItem->Pulled()) return nullptr;
    const ZrPtr<IUnknown> pIdentity = IdentityOf(_pItem->Source());
    for (const auto& pSource : arrSources) {
        if (pSource->pIdentity == pIdentity) return pSource.get();
    }
    auto pSource = std::make_unique<SyncSource>();
    pSource->pItem = _pItem;
    pSource->pIdentity = pIdentity;
    pSource->name = _pItem->Name();
    if (pSource->name.empty()) pSource->name = u"Unknown";
    if (IZrProps* const pProps = _pItem->SourceProps()) {
        if (pObject->AttributeOr(u"threads.priority_on", false)) {
            const std::u16string priority = pObject->AttributeOr(u"threads.priority_max", u"15");
            pProps->PropsSet(u"object::thread.priority", priority.c_str());
        }
        BSTR bs = nullptr;
        if (pProps->PropsGet(u"object::rate_control", &bs) == S_OK) pSource->rateControl = TextArgument(bs);
        SysFreeString(bs);
        // From now on only the mixer sets its pace.
        pProps->PropsSet(u"object::rate_control", u"0");
    }
    // The reader first: not one frame is lost when the source starts.
    _pItem->Pulled()->SourceFrameGetEx_I(&pSource->llReaderID, 0, nullptr, nullptr);
    AskForRate(*pSource);
    if (_pItem->OwnsSource() || pObject->AttributeOr(u"external.autostart", true)) _pItem->StartSource();
    events.RaiseEvent(pSource->name.c_str(), u"source_connected", pSource->name.c_str(), _pItem->Source());
    arrSources.push_back(std::move(pSource));
    return arrSources.back().get();
}

// Has a source that was given no format of its own play at the rate of the output.
void SyncMixer::AskForRate(SyncSource& _source) {
    const double dblRate = request.props.vidProps.dblRate;
    if (dblRate <= 0 || dblRate == _source.dblRateAsked || !pObject->AttributeOr(u"sync_mode.control_fps", true))
        return;
    _source.dblRateAsked = dblRate;
    const ZrPtr<IZrFormat> pFormat = QueryAs<IZrFormat>(_source.pItem->Source());
    ZR_VID_PROPS props;
    if (!pFormat || Failed(pFormat->FormatVideoGet(eZrFT_Convert, &props, nullptr, nullptr))) return;
    if (props.eVideoFormat != eZrVF_Custom || props.nWidth != 0) return;
    props.dblRate = dblRate;
    pFormat->FormatVideoSet(eZrFT_Convert, &props);
}

void SyncMixer::StartGet(SyncSource& _source, ManualEvent& _evStop, bool _bAsync) {
    if (_bAsync &&
        Succeeded(ThreadPool::Shared().Submit([this, &_source, &_evStop] { Get(_source, _evStop); }, &group))) {
        return;
    }
    Get(_source, _evStop);
}

// One frame of a source. One that stops answering costs its limit once and nothing from then on, until it answers.
// nTimeouts: 0 or less it answers, above 0 it does not.
void SyncMixer::Get(SyncSource& _source, ManualEvent& _evStop) {
    IZrSource_I* const pPulled = _source.pItem->Pulled();
    const int32_t nMaxWaitMs = pObject->AttributeOr(u"sync_mode.get_max_wait", kDefaultGetMaxWait);
    const bool bUnlimited = nMaxWaitMs < 0;
    int64_t rtLimit = 0;
    if (bUnlimited) {
        rtLimit = kUnlimitedSlice;
    } else if (_source.nTimeouts < 1) {
        rtLimit = nMaxWaitMs * kTicksPerMs;
    }
    FramePtr pFrame;
    HRESULT hr = S_OK;
    do {
        hr = pPulled->SourceFrameGetEx_I(&_source.llReaderID, rtLimit, pFrame.Out(), nullptr);
        if (hr == ZR_E_NOT_FOUND) {  // the source has dropped the reader: a new one is made
            _source.llReaderID = 0;
            hr = pPulled->SourceFrameGetEx_I(&_source.llReaderID, rtLimit, pFrame.Out(), nullptr);
        }
    } while (bUnlimited && hr == ZR_E_TIMEOUT && !_evStop.IsSet());

    if (hr == ZR_E_TIMEOUT) {
        _source.nTimeouts = _source.nTimeouts >= 0 ? _source.nTimeouts + 1 : 1;
    } else {
        _source.nTimeouts = _source.nTimeouts < 1 ? 0 : -1;
    }
    if (Failed(hr) || !pFrame) {
        _source.pFrame = RepeatOf(_source.pLastFrame);
        return;
    }
    _source.pFrame = pFrame;
    _source.pLastFrame = std::move(pFrame);
}

void SyncMixer::AddStep(const MIX_INPUT& _input, SyncSource& _source) {
    RequestStep& step = request.Add();
    step.pItem = _input.pItem;
    step.nIndex = _input.nIndex;
    step.name = kBackgroundName;
    step.propsOutput = request.props;
    step.bMustCopy = false;
    const XMLNodePtr& pNode = _input.pItem->Node();
    if (!pNode->AttributeOr(u"video", true)) step.propsOutput.vidProps.eVideoFormat = eZrVF_Disabled;
    if (!pNode->AttributeOr(u"audio", true)) step.propsOutput.audProps.nChannels = -1;
    _source.arrSteps.push_back(&step);
}

// What the output is to be when nobody has said so: as the frames that came, else 1080i at 59.94 with stereo sound.
void SyncMixer::CompleteFormat() {
    ZR_AV_PROPS& props = request.props;
    for (size_t i = 0; i < arrSources.size(); ++i) {
        ZR_AV_PROPS propsFrame;
        const FramePtr& pFrame = arrSources[i]->pFrame;
        if (!pFrame || Failed(pFrame->ZrFAVPropsGet(&propsFrame, nullptr))) continue;
        const bool bDisabled = props.vidProps.eVideoFormat == eZrVF_Disabled;
        if (!bDisabled && !PropsValid(&props.vidProps, true) && PropsValid(&propsFrame.vidProps, true)) {
            props.vidProps = propsFrame.vidProps;
        }
        if (!AudUsable(props.audProps) && AudUsable(propsFrame.audProps)) props.audProps = propsFrame.audProps;
    }
    if (props.vidProps.eVideoFormat != eZrVF_Disabled && !PropsValid(&props.vidProps, true)) {
        props.vidProps = PropsFromFormat(eZrVF_HD1080_5994i, eZrFCC_Default);
    }
    if (!AudUsable(props.audProps)) props.audProps = kDefaultAudio;
}

// Gives a step its own reference to the frame. False: there is none.
bool SyncMixer::PrepareStep(RequestStep& _step) {
    for (const auto& pSource : arrSources) {
        const auto& arrSteps = pSource->arrSteps;
        if (std::find(arrSteps.begin(), arrSteps.end(), &_step) == arrSteps.end()) continue;
        _step.bMustCopy = true;
        return pSource->pFrame &&
               Succeeded(pSource->pFrame->ZrFClone(_step.pSourceFrame.Out(), eZrFC_Reference, eZrFCC_Default));
    }
    return false;
}

HRESULT SyncMixer::Sync_Put(SyncRequest& _request, FramePtr* _ppBackground, bool* _pbMustCopy) {
    Elapsed elapsed;
    _ppBackground->Reset();
    *_pbMustCopy = false;
    RequestStep* pBackground = nullptr;
    RequestStep* pHere = nullptr;  // the step that runs on this thread, beside those of the pool
    for (size_t i = 0; i < _request.Count(); ++i) {
        RequestStep& step = _request[i];
        step.propsOutput.vidProps = step.propsOutput.vidProps.eVideoFormat == eZrVF_Disabled ? step.propsOutput.vidProps
                                                                                             : _request.props.vidProps;
        if (!PrepareStep(step)) continue;
        if (step.IsBackground()) pBackground = &step;
        if (!pHere || Failed(ThreadPool::Shared().Submit([this, &step] { runner.Run(step); }, &group))) {
            if (pHere) runner.Run(*pHere);
            pHere = &step;
        }
    }
    if (pHere) runner.Run(*pHere);
    group.Wait(nullptr, -1);
    if (pBackground && pBackground->pResult) {
        *_ppBackground = pBackground->pResult;
        *_pbMustCopy = pBackground->bMustCopy;
    }
    statistics.SetValue(nPutFrames, elapsed.Ms());
    return S_OK;
}

void SyncMixer::RemoveUnused() {
    const auto IsUnused = [](const auto& _pSource) { return _pSource->arrSteps.empty(); };
    for (;;) {
        const auto it = std::find_if(arrSources.begin(), arrSources.end(), IsUnused);
        if (it == arrSources.end()) return;
        // Off the list before anybody hears of it: a listener may stop the mixer, which empties the list.
        const std::unique_ptr<SyncSource> pSource = std::move(*it);
        arrSources.erase(it);
        RemoveSource(*pSource, events);
    }
}

void SyncMixer::RemoveSource(SyncSource& _source, IEventSink& _events) {
    if (IZrProps* const pProps = _source.pItem->SourceProps()) {
        if (_source.rateControl.empty()) {
            pProps->PropsRemove(u"object::rate_control");
        } else {
            pProps->PropsSet(u"object::rate_control", _source.rateControl.c_str());
        }
        if (pObject->AttributeOr(u"threads.priority_on", false)) {
            const std::u16string priority = pObject->AttributeOr(u"threads.priority_min", u"-2");
            pProps->PropsSet(u"object::thread.priority", priority.c_str());
        }
    }
    if (_source.llReaderID != 0) _source.pItem->Pulled()->ReaderRemove(_source.llReaderID);
    _events.RaiseEvent(_source.name.c_str(), u"source_disconnected", _source.name.c_str(), _source.pItem->Source());
}

void SyncMixer::RemoveSources(IEventSink& _events) {
    request.Release();
    for (const auto& pSource : arrSources) RemoveSource(*pSource, _events);
    arrSources.clear();
}

}  // namespace zr
