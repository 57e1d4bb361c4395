#include "sources/file_pump.h"

#include <algorithm>
#include <new>
#include <utility>

#include "attributes/name_hash.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/wide_text.h"
#include "transport/frame_flags.h"

namespace zr {
namespace {

constexpr HRESULT kEndOfMedia = Win32Error(1100);
constexpr int64_t kSlice = 20 * kTicksPerMs;  // the longest that the pump keeps the play lock in a wait
constexpr int64_t kRetry = 20 * kTicksPerMs;
constexpr int64_t kFetchSlice = 200 * kTicksPerMs;                     // between two looks at who sets the pace
constexpr int32_t kPaceNone = 0, kPaceItself = 3, kPaceByReaders = 4;  // of the key rate_control

constexpr NameKey kIn{u"in"}, kOut{u"out"}, kLoop{u"loop"}, kNoBreaks{u"no_breaks"}, kOutMode{u"out_point.mode"},
    kEofStop{u"eof_stop"}, kRateControl{u"rate_control"};

template <class T>
T KeyOr(const XMLNodeBase& _node, const NameKey& _key, T _default) {
    _node.GetOwnAttribute(_key, _default);
    return _default;
}

bool IsOutMode(const XMLNodeBase& _node, std::u16string_view _mode) {
    return EqualNoCase(_node.AttributeOr(kOutMode.text, std::u16string_view()), _mode);
}

int64_t DurationOf(IZrFFrame& _frame) {
    ZR_TIME time;
    return Succeeded(_frame.ZrFTimeGet(&time)) ? std::max<int64_t>(time.rtEndTime - time.rtStartTime, 1) : 1;
}

}  // namespace

// The play lock for everybody but the pump.
class ZR_SCOPED_CAPABILITY FilePump::ControlScope {
public:
    explicit ControlScope(FilePump& _pump) ZR_ACQUIRE(_pump.mtxPlay) : pump(_pump) {
        pump.nWaiting.fetch_add(1);
        pump.mtxPlay.Lock();
        pump.nWaiting.fetch_sub(1);
    }
    ~ControlScope() ZR_RELEASE() { pump.mtxPlay.Unlock(); }
    ControlScope(const ControlScope&) = delete;
    ControlScope& operator=(const ControlScope&) = delete;

private:
    FilePump& pump;
};

// --- Control

HRESULT FilePump::Start() {
    if (thread.IsRunning() == CBaseThread::kRunning) return S_FALSE;
    const HRESULT hr =
        thread.Start(this, [](void* _pOwner, ThreadRun& _run) { static_cast<FilePump*>(_pOwner)->Run(_run); });
    const std::u16string priority = parts.props.Object()->AttributeOr(u"thread.priority", std::u16string_view());
    if (Succeeded(hr) && !priority.empty()) SetPriority(ThreadPriorityFromText(priority));
    return hr;
}

void FilePump::Stop() {
    Interrupt();
    PlayerPtr pOld;
    {
        ControlScope scope(*this);
        bPlaying = bPaused = bEnded = false;
        rtPlayAgain = kNever;
        arrEvents.clear();
        Change_I();
    }
    thread.Stop(-1);
    ControlScope scope(*this);
    pOld = std::move(pPlayer);
    pHeld.Reset();
    eState.store(eZrS_Stopped, std::memory_order_release);
    MutexLock lock(mtxPlayer);
    pInterruptible.reset();
}

// The pump's next frame is made by what is set now.
void FilePump::Change_I() {
    evCancel.Set();
    rtPauseShown.store(bPaused ? rtPauseLeft : 0, std::memory_order_relaxed);
    thread.Wake();
}

FilePump::PlayerPtr FilePump::Exchange(PlayerPtr _pPlayer) {
    ControlScope scope(*this);
    std::swap(pPlayer, _pPlayer);
    pHeld.Reset();
    bEnded = false;
    bBreakNext = bFlushPlugins = true;
    dblPosition.store(pPlayer ? pPlayer->Position() : 0, std::memory_order_relaxed);
    Change_I();
    if (_pPlayer) parts.readers.Drop();  // nobody gets what the old one had ready
    MutexLock lock(mtxPlayer);
    pInterruptible = pPlayer;
    return _pPlayer;
}

FilePump::PlayerPtr FilePump::Player() {
    MutexLock lock(mtxPlayer);
    return pInterruptible;
}

void FilePump::Interrupt() {
    if (const PlayerPtr p = Player()) p->Interrupt();
}

void FilePump::HintSet(const ZR_VID_PROPS& _props) {
    ControlScope scope(*this);
    propsHint = _props;
}

HRESULT FilePump::Play() {
    ControlScope scope(*this);
    if (!pPlayer) return ZR_E_EMPTY;
    if (bPlaying && !bPaused && !bEnded) return S_FALSE;
    if (bEnded) {
        if (const HRESULT hr = pPlayer->Seek(Settings().dblIn, pPlayer->Request().dblInPreroll); Failed(hr)) return hr;
    }
    if (!bPlaying) bBreakNext = true;
    const bool bAgain = std::exchange(bEnded, false);
    bFlushPlugins |= bAgain;
    bPlaying = true;
    bPaused = false;
    rtPlayAgain = kNever;
    eState.store(eZrS_Running, std::memory_order_release);
    Change_I();
    if (bAgain) parts.readers.Drop();
    return S_OK;
}

HRESULT FilePump::Pause(int64_t _rtTicks) {
    ControlScope scope(*this);
    if (!pPlayer) return ZR_E_EMPTY;
    if (bPlaying && bPaused) {
        ++nSteps;
        thread.Wake();
        return S_OK;
    }
    if (!bPlaying) {
        bBreakNext = true;
        pHeld.Reset();
    }
    bPlaying = bPaused = true;
    rtPlayAgain = kNever;
    nSteps = 0;
    rtPauseLeft = std::max<int64_t>(_rtTicks, 0);
    eState.store(eZrS_Paused, std::memory_order_release);
    rtPauseShown.store(rtPauseLeft, std::memory_order_relaxed);
    thread.Wake();
    return S_OK;
}

HRESULT FilePump::Halt(int64_t _rtTicks) {
    bool bWas = false;
    {
        ControlScope scope(*this);
        bWas = bPlaying || rtPlayAgain != kNever;
        bPlaying = bPaused = false;
        bFlushPlugins = true;
        rtPlayAgain = _rtTicks > 0 && pPlayer ? DeadlineAfter(ClockNow(), _rtTicks) : kNever;
        eState.store(eZrS_Stopped, std::memory_order_release);
        Change_I();
    }
    parts.sender.SenderSendFlush();
    WaitIdle();
    parts.readers.Flush();
    return bWas ? S_OK : S_FALSE;
}

// A frame that was on its way may have opened the readers again.
void FilePump::WaitIdle() {
    if (idThread.load() != CurrentThreadId()) WaitOne(evIdle, kTicksPerSecond);
}

HRESULT FilePump::Seek(double _dblPos, double _dblPreroll) {
    ControlScope scope(*this);
    if (!pPlayer) return ZR_E_EMPTY;
    const HRESULT hr = pPlayer->Seek(_dblPos, _dblPreroll);
    if (Failed(hr)) return hr;
    pHeld.Reset();
    bEnded = false;
    bFlushPlugins = true;
    dblPosition.store(pPlayer->Position(), std::memory_order_relaxed);
    Change_I();
    parts.readers.Drop();  // what is on its way sees the change, and is not offered any more
    return S_OK;
}

PLAY_SETTINGS FilePump::Settings() const {
    PLAY_SETTINGS settings;
    settings.dblSpeed = Speed();
    const XMLNodeRef pFile = parts.props.Root()->FindNode(u"file");
    if (!pFile) return settings;
    settings.dblIn = std::max(KeyOr(*pFile, kIn, 0.0), 0.0);
    settings.dblOut = KeyOr(*pFile, kOut, 0.0);
    settings.bLoop = KeyOr(*pFile, kLoop, false) || KeyOr(*parts.props.Object(), kLoop, false);
    settings.bNoBreaks = KeyOr(*pFile, kNoBreaks, false);
    return settings;
}

// --- Making frames

void FilePump::Run(ThreadRun& _run) {
    idThread = CurrentThreadId();
    while (_run.IsWanted()) {
        OUT_FRAME out;
        int64_t rtIdle = kRetry;
        try {
            rtIdle = MakeFrame(&out);
        } catch (const std::bad_alloc&) {
            out.pFrame.Reset();  // the next round may have more memory
        }
        FireEvents();
        if (out.pFrame) {
            Deliver(out);
            out.pFrame.Reset();
            evIdle.Set();
        } else if (rtIdle != 0) {
            WaitAny({&_run.StopEvent(), &_run.WakeEvent()}, rtIdle);
        }
    }
    parts.plugins.MediaEnd();
    idThread = 0;
}

// Returns how long to wait for a change when there is no frame: 0 to try again, negative without limit.
int64_t FilePump::MakeFrame(OUT_FRAME* _pOut) {
    while (nWaiting.load() > 0) SleepFor(0);
    MutexLock lock(mtxPlay);
    if (evCancel.IsSet()) {
        evCancel.Reset();
        parts.sender.ResetRate();
    }
    int64_t rtIdle = 0;
    if (!bPlaying || !pPlayer) {
        rtIdle = MakeWhileStopped();
    } else if (bPaused || bEnded) {
        rtIdle = MakeWhilePaused(&_pOut->pFrame);
    } else {
        rtIdle = MakeNext(&_pOut->pFrame);
    }
    if (!_pOut->pFrame) return rtIdle;
    if (std::exchange(bBreakNext, false)) MarkBreak(*_pOut->pFrame, kReplacePause);
    _pOut->dblPosition = pPlayer->Position();
    evIdle.Reset();
    return 0;
}

int64_t FilePump::MakeWhileStopped() {
    if (rtPlayAgain == kNever) return -1;
    const int64_t rtLeft = rtPlayAgain - ClockNow();
    if (rtLeft > 0) return rtLeft;
    rtPlayAgain = kNever;
    bPlaying = bBreakNext = true;
    eState.store(eZrS_Running, std::memory_order_release);
    Raise(u"start", pPlayer->Request().strFile);
    return 0;
}

// What a frame is to look like, from the object's format and from what came with the name of the file.
AV_FORMAT FilePump::Wanted() const {
    AV_FORMAT wanted = parts.format.Wanted();
    ZR_VID_PROPS& props = wanted.vidProps;
    if (props.eVideoFormat != eZrVF_Custom || props.nWidth != 0) return wanted;
    const double dblRate = props.dblRate;
    props = propsHint;
    if (dblRate > 0 && dblRate != props.dblRate) {
        props.dblRate = dblRate;
        if (props.nWidth != 0) props.eVideoFormat = DetectFormat(&props, true);
    }
    return wanted;
}

// Of the output. What came with the name says so in a whole format only; else it is how the file is to be taken.
int32_t FilePump::WantedFields() const {
    const ZR_VID_PROPS props = parts.format.Wanted().vidProps;
    const bool bOpen = props.eVideoFormat == eZrVF_Custom && props.nWidth == 0 && props.eInterlace == eZrI_Default;
    return InterlaceClass(bOpen && propsHint.nWidth != 0 ? &propsHint : &props);
}

int64_t FilePump::MakeNext(ZrPtr<IZrFFrame>* _ppFrame) {
    PLAY_SETTINGS settings = Settings();
    if (const XMLNodeRef pFile = parts.props.Root()->FindNode(u"file")) settings.bLoop |= IsOutMode(*pFile, u"loop");
    const AV_FORMAT wanted = Wanted();
    pPlayer->WantedSet(wanted);
    settings.dblRate = wanted.vidProps.dblRate;
    settings.nFields = WantedFields();
    bool bLooped = false;
    const HRESULT hr = pPlayer->Next(settings, kSlice, _ppFrame, &bLooped);
    if (bLooped) {
        Raise(u"loop", pPlayer->Request().strFile);
        Raise(u"start", u"loop");
    }
    if (hr == S_OK) {
        FitTo(parts.format.Wanted().vidProps, _ppFrame);
        pHeld = *_ppFrame;
        return 0;
    }
    if (hr == ZR_E_TIMEOUT) return 0;
    return hr == E_ABORT ? kRetry : OnEnd(hr);
}

// A frame of another size or pixel format than the object was asked for is converted; one that cannot be goes as it is.
void FilePump::FitTo(const ZR_VID_PROPS& _wanted, ZrPtr<IZrFFrame>* _ppFrame) {
    ZR_AV_PROPS props;
    if (_wanted.nWidth == 0 || Failed((*_ppFrame)->ZrFAVPropsGet(&props, nullptr)) || props.vidProps.nWidth == 0)
        return;
    const bool bSameSize =
        props.vidProps.nWidth == _wanted.nWidth && AbsHeight(props.vidProps.nHeight) == AbsHeight(_wanted.nHeight);
    if (bSameSize && (_wanted.fccType == eZrFCC_Default || _wanted.fccType == props.vidProps.fccType)) return;
    const double dblRate = props.vidProps.dblRate;
    props.vidProps = _wanted;
    props.vidProps.dblRate = dblRate;
    ZrPtr<IZrFFrame> pFitted;
    int32_t nRest = 0;
    if ((*_ppFrame)->ZrFConvert(&props, pFitted.Out(), &nRest, nullptr, nullptr) == S_OK)
        *_ppFrame = std::move(pFitted);
}

// The file has ended, or cannot be read any further.
int64_t FilePump::OnEnd(HRESULT _hr) {
    if (_hr != kEndOfMedia) Raise(u"error", pPlayer->ErrorText());
    bEnded = true;
    const XMLNodeRef pFile = parts.props.Root()->FindNode(u"file");
    const bool bStop = pFile && KeyOr(*pFile, kEofStop, false);
    if (!bStop && !(pFile && IsOutMode(*pFile, u"eof"))) return 0;  // the last frame stays
    bPlaying = bPaused = false;
    if (bStop && Succeeded(pPlayer->Seek(Settings().dblIn, pPlayer->Request().dblInPreroll))) bEnded = false;
    dblPosition.store(pPlayer->Position(), std::memory_order_relaxed);
    eState.store(eZrS_Stopped, std::memory_order_release);
    bEndReaders = true;
    Raise(u"stop", pPlayer->Request().strFile);
    return 0;
}

int64_t FilePump::MakeWhilePaused(ZrPtr<IZrFFrame>* _ppFrame) {
    if (!bEnded && (!pHeld || nSteps > 0)) {
        const bool bStep = nSteps > 0;
        const int64_t rtIdle = MakeNext(_ppFrame);
        if (!*_ppFrame) return rtIdle;
        if (bStep) --nSteps;
        ZR_TIME time;
        if (Succeeded((*_ppFrame)->ZrFTimeGet(&time)) && IsRestart(time)) {
            Hold(eZrFF_Break, _ppFrame);
        } else {
            Hold(eZrFF_Pause, _ppFrame);
        }
    } else if (!pHeld) {
        return -1;  // a file without a frame
    } else {
        Hold(bEnded ? eZrFF_Pause | eZrFF_Last : eZrFF_Pause, _ppFrame);
    }
    if (!*_ppFrame) return kRetry;
    if (bPaused) CountPause(**_ppFrame);
    return 0;
}

// The held picture once more, with silence as long as its sound.
HRESULT FilePump::Hold(eZrFrameFlags _eFlags, ZrPtr<IZrFFrame>* _ppFrame) {
    ZrPtr<IZrFFrame> pFrame;
    HRESULT hr = pHeld->ZrFClone(pFrame.Out(), eZrFC_VideoRef, eZrFCC_Default);
    ZRF_FRAME_INFO info;
    if (Succeeded(hr)) hr = pHeld->ZrFAllGet(&info);
    if (Succeeded(hr) && info.lAudioSamples > 0) hr = pFrame->ZrFAudioAlloc(&info.avProps.audProps, info.lAudioSamples);
    if (Succeeded(hr)) {
        // What is held is not live: it comes at the pace of the file source.
        constexpr auto eOwn = static_cast<eZrFrameFlags>(kBreakKinds) | eZrFF_Last | eZrFF_Live | eZrFF_Net;
        info.mTime.eFFlags = (info.mTime.eFFlags & ~eOwn) | _eFlags;
        hr = pFrame->ZrFTimeSet(&info.mTime);
    }
    if (Failed(hr)) pFrame.Reset();
    *_ppFrame = std::move(pFrame);
    return hr;
}

void FilePump::CountPause(IZrFFrame& _frame) {
    if (rtPauseLeft == 0) return;
    rtPauseLeft = std::max<int64_t>(rtPauseLeft - DurationOf(_frame), 0);
    rtPauseShown.store(rtPauseLeft, std::memory_order_relaxed);
    if (rtPauseLeft > 0) return;
    bPaused = false;
    eState.store(eZrS_Running, std::memory_order_release);
    Raise(u"pause", u"pause-done");
}

// --- Events

void FilePump::Raise(const char16_t* _szEvent, std::u16string_view _param) {
    arrEvents.push_back({_szEvent, std::u16string(_param)});
}

void FilePump::FireEvents() {
    std::vector<EVENT> arrNow;
    bool bEnd = false, bFlush = false;
    {
        MutexLock lock(mtxPlay);
        arrNow.swap(arrEvents);
        bEnd = std::exchange(bEndReaders, false);
        bFlush = std::exchange(bFlushPlugins, false);
    }
    if (bFlush) parts.plugins.MediaFlush();
    if (bEnd) {
        parts.plugins.MediaEnd();
        parts.readers.End();
        parts.sender.SenderSendEnd(0, false);
    }
    for (const EVENT& event : arrNow)
        parts.events.RaiseEvent(parts.name.Get()->c_str(), event.szEvent, event.strParam.c_str(), nullptr);
}

// --- Sending

// By the key, the object does not keep real time, and no receiver is waited for that does: readers set the pace.
bool FilePump::IsPulled() const {
    const int32_t nRateControl = KeyOr(*parts.props.Object(), kRateControl, kPaceItself);
    return nRateControl == kPaceNone || nRateControl == kPaceByReaders;
}

// Waits as long as the one reader has not fetched the last frame, or there is none. Of several readers none can hold up
// the others. False: the frame is not wanted any more.
bool FilePump::WaitForPull() {
    while (IsPulled() && !parts.sender.RateChannels().IsSet()) {
        const size_t nReaders = parts.readers.Count();
        if (nReaders > 1) return true;
        if (nReaders == 1 && parts.readers.WaitFetched(kFetchSlice, &evCancel) == S_OK) return true;
        if (nReaders == 0) {
            WaitAny({&evCancel, &evKeys, &parts.readers.ReadersExist(), &parts.sender.RateChannels()}, -1);
        }
        if (evCancel.IsSet()) return false;
    }
    return true;
}

// What goes out, through the tracks and by the keys; the frame that is held keeps the sound that it came with.
ZrPtr<IZrFFrame> FilePump::ShapeSound(const ZrPtr<IZrFFrame>& _pFrame) {
    const XMLNodePtr& pObject = parts.props.Object();
    const bool bEnabled = pObject->AttributeOr(u"izraudio.enabled", true);
    parts.tracks.LoudnessSet(bEnabled && pObject->AttributeOr(u"izraudio.loudness", false));
    const bool bTracks = bEnabled && !parts.tracks.IsIdle();
    const bool bKeys = audioKeys.IsDue(*pObject);
    if (!bTracks && !bKeys && !parts.tracks.IsPassDue(!bEnabled)) {
        parts.tracks.Pass(*_pFrame, !bEnabled);
        audioKeys.Pass(*_pFrame);
        return _pFrame;
    }
    ZrPtr<IZrFFrame> pOut;
    if (Failed(_pFrame->ZrFClone(pOut.Out(), eZrFC_Reference, eZrFCC_Default))) return _pFrame;
    if (!bTracks) parts.tracks.Pass(*pOut, !bEnabled);
    if (bTracks && Failed(parts.tracks.Audio_Process(*pOut))) return _pFrame;
    bKeys ? audioKeys.Apply(*pOut, *pObject) : audioKeys.Pass(*pOut);
    return pOut;
}

void FilePump::Deliver(const OUT_FRAME& _out) {
    ZrPtr<IZrFFrame> pFrame = ShapeSound(_out.pFrame);
    ZR_TIME time;
    if (evCancel.IsSet() || Failed(pFrame->ZrFTimeGet(&time))) return;
    if (!HasFlags(time, eZrFF_Live) && !WaitForPull()) return;
    pFrame = parts.plugins.Pass(std::move(pFrame));
    IZrFFrame& frame = *pFrame;
    dblPosition.store(_out.dblPosition, std::memory_order_relaxed);
    NoteFormats(frame);
    parts.lastFrame.Keep(&frame);
    parts.events.RaiseFrame(parts.name.Get()->c_str(), &frame);
    // A send that failed did not wait: the next frame is not to come at once.
    if (parts.sender.Sender_SendMedia(&frame, kSendAll, 0) != S_OK) WaitOne(evCancel, DurationOf(frame));
}

void FilePump::NoteFormats(IZrFFrame& _frame) {
    ZR_AV_PROPS props;
    if (Failed(_frame.ZrFAVPropsGet(&props, nullptr))) return;
    const ZR_VID_PROPS& v = props.vidProps;
    const ZR_AUD_PROPS& a = props.audProps;
    const bool bSame = v.nWidth == propsNoted.nWidth && v.nHeight == propsNoted.nHeight &&
                       v.fccType == propsNoted.fccType && v.dblRate == propsNoted.dblRate &&
                       v.eInterlace == propsNoted.eInterlace && a.nChannels == audioNoted.nChannels &&
                       a.nSamplesPerSec == audioNoted.nSamplesPerSec && a.nBitsPerSample == audioNoted.nBitsPerSample;
    if (bSame) return;
    propsNoted = v;
    audioNoted = a;
    parts.format.Note(eZrFT_Output, FormatOf(props));
}

}  // namespace zr
