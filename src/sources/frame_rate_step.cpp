#include "sources/frame_rate_step.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <utility>

#include "media/aud_props.h"
#include "media/frame_interfaces.h"
#include "media/frame_time.h"
#include "media/vid_props.h"
#include "video/slot_frame.h"

namespace zr {
namespace {

constexpr HRESULT kEndOfMedia = Win32Error(1100);
constexpr Thirds kThirdsPerSecond = 30'000'000;
// How far the times of frames may be off: files count in milliseconds. A quarter of a slot at most.
constexpr Thirds kTolerance = 30'000;
constexpr int64_t kMaxSilenceSeconds = 10;  // made at a time where a source gives none
constexpr auto eRepeatOrBreak = static_cast<eZrFrameFlags>(0x31);

// Far beyond any media, and three times of it fit as well.
Thirds ThirdsOf(int64_t _rt) {
    constexpr int64_t kLongest = int64_t{1} << 60;
    return 3 * std::clamp(_rt, -kLongest, kLongest);
}

bool IsBreak(eZrFrameFlags _eFlags) { return (_eFlags & eRepeatOrBreak) == eZrFF_Break; }

bool SameSound(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b) {
    return _a.nChannels == _b.nChannels && _a.nSamplesPerSec == _b.nSamplesPerSec &&
           _a.nBitsPerSample == _b.nBitsPerSample;
}

bool HasSoundOf(const ZRF_FRAME_INFO& _info) { return _info.lAudioSamples > 0 && AudUsable(_info.avProps.audProps); }

}  // namespace

Thirds PeriodOfRate(double _dblRate) {
    if (!(_dblRate > 0)) return kThirdsPerSecond / 25;
    const FRAME_DURATION duration = FrameDurationOfRate(_dblRate);
    return std::max<Thirds>(ThirdsFromDuration(duration.bStandard ? duration.dblExact : 1e7 / _dblRate), 1);
}

int64_t SamplesBefore(Thirds _nTime, int32_t _nSamplesPerSec) {
    int64_t nSeconds = _nTime / kThirdsPerSecond, nRest = _nTime % kThirdsPerSecond;
    if (nRest < 0) {
        nRest += kThirdsPerSecond;
        --nSeconds;
    }
    return nSeconds * _nSamplesPerSec + (nRest * _nSamplesPerSec + kThirdsPerSecond / 2) / kThirdsPerSecond;
}

// --- Time lines

Thirds FrameRateStep::SourceAtField(int64_t _nField) const {
    const Thirds nPassed = _nField * nPeriod / 2;
    return nSourceBase + (IsAtSpeed() ? nPassed : std::llround(static_cast<double>(nPassed) * dblSpeed));
}

Thirds FrameRateStep::Tolerance() const { return std::min(kTolerance, nPeriod / 4); }

void FrameRateStep::SetRate(double _dblRate, double _dblSpeed, int32_t _nFields) {
    nFields = _nFields;
    if (_dblRate == dblRate && _dblSpeed == dblSpeed) return;
    QueueWhole();
    nOutBase = OutAt(nSlot);
    nSourceBase = SourceAt(nSlot);
    nSlot = 0;
    dblRate = _dblRate;
    dblSpeed = _dblSpeed;
    nPeriod = PeriodOfRate(_dblRate);
    if (HasSound() && IsAtSpeed())
        nTaken += samples.Take(nullptr, std::max<int64_t>(SampleAt(nSourceBase) - nTaken, 0));
}

void FrameRateStep::Reset() {
    BeginRun(0);
    bStarted = false;
}

void FrameRateStep::BeginRun(Thirds _nStart) {
    arrPictures.clear();
    bWhole = bEnded = bLastGiven = false;
    bStarted = bFirst = true;
    nSlot = 0;
    nOutBase = nSourceBase = nInputEnd = _nStart;
    nOffset = 0;
    audProps = {};
}

// --- Input

HRESULT FrameRateStep::Put(IZrFFrame* _pFrame, const INPUT& _input) try {
    ZRF_FRAME_INFO info;
    const HRESULT hr = _pFrame->ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    Thirds nStart = ThirdsOf(info.mTime.rtStartTime);
    Thirds nEnd = ThirdsOf(info.mTime.rtEndTime);
    if (nEnd <= nStart) nEnd = nStart + PeriodOfRate(info.avProps.vidProps.dblRate);
    const Thirds nOwnEnd = nEnd;
    const bool bCut = nEnd > ThirdsOf(_input.rtOut);
    if (bCut) nEnd = ThirdsOf(_input.rtOut);

    const bool bJoin = _input.bJoin && bStarted;
    if (!bStarted || (IsBreak(info.mTime.eFFlags) && !bJoin)) BeginRun(nStart);
    QueueWhole();
    if (bJoin) nOffset = nInputEnd - nStart;
    nStart += nOffset;
    nEnd += nOffset;
    if (!arrPictures.empty()) nStart = std::max(nStart, arrPictures.back().nStart);

    if (HasSoundOf(info) && !SameSound(info.avProps.audProps, audProps)) RestartSound(info.avProps.audProps);
    if (!bCut && IsWhole(info, nStart, nEnd)) {
        bWhole = true;
    } else {
        PutSound(info, nStart, nEnd, bCut, bJoin);
    }
    nFrameTime = nEnd - nStart;
    nInputEnd = std::max(nInputEnd, nEnd);
    const ZR_VID_PROPS& props = info.avProps.vidProps;
    KeepPicture({_pFrame, nStart, nOffset, nOwnEnd + nOffset, props.dblRate, InterlaceClass(&props), info.mTime.eFFlags,
                 false});
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

// Whether any slot still to come begins while a picture with these times is on screen; or any field, by steps of one.
bool FrameRateStep::IsEverShown(Thirds _nFrom, Thirds _nTo, int64_t _nFieldStep) const {
    const Thirds nEarly = _nFrom - Tolerance();
    int64_t n = 2 * nSlot;
    if (SourceAtField(n) < nEarly) {
        const double dblStep = static_cast<double>(nPeriod * _nFieldStep) / 2 * dblSpeed;
        n += _nFieldStep * static_cast<int64_t>(static_cast<double>(nEarly - SourceAtField(n)) / dblStep);
        while (SourceAtField(n) < nEarly) n += _nFieldStep;
        while (n > 2 * nSlot && SourceAtField(n - _nFieldStep) >= nEarly) n -= _nFieldStep;
    }
    return SourceAtField(n) + Tolerance() < _nTo;
}

void FrameRateStep::KeepPicture(SHOWN _picture) {
    if (!arrPictures.empty() &&
        !IsEverShown(arrPictures.back().nStart, _picture.nStart, IntoFields(arrPictures.back()) ? 1 : 2)) {
        arrPictures.back() = std::move(_picture);
    } else {
        arrPictures.push_back(std::move(_picture));
    }
}

// --- Sound

int64_t FrameRateStep::SampleAt(Thirds _nTime) const { return SamplesBefore(_nTime, audProps.nSamplesPerSec); }

int64_t FrameRateStep::SamplesOfSlot() const { return SampleAt(OutAt(nSlot + 1)) - nGiven; }

void FrameRateStep::RestartSound(const ZR_AUD_PROPS& _props) {
    samples.Restart(_props);
    audProps = _props;
    nTaken = SampleAt(SourceAt(nSlot));
    nGiven = SampleAt(OutAt(nSlot));
}

// Where the count of samples and the times of the frames part, silence fills the gap and an overlap is dropped, so that
// sound and picture stay together. Between two passes of a loop every sample counts.
void FrameRateStep::PutSound(const ZRF_FRAME_INFO& _info, Thirds _nStart, Thirds _nEnd, bool _bCut, bool _bJoin) {
    if (!HasSound()) return;
    const bool bHas = HasSoundOf(_info);
    int64_t nLimit = _bJoin ? 0 : audProps.nSamplesPerSec / 200;
    if (!bHas) {
        _nStart = _nEnd;
        nLimit = 0;
    }
    const auto* p = reinterpret_cast<const uint8_t*>(_info.lpAudio);
    int64_t nSamples = bHas ? _info.lAudioSamples : 0;
    const int64_t nSlip = SampleAt(_nStart) - (nTaken + samples.Count());
    if (nSlip > nLimit) {
        samples.Append(nullptr, std::min(nSlip, kMaxSilenceSeconds * audProps.nSamplesPerSec));
    } else if (nSlip < -nLimit) {
        const int64_t nDropped = std::min(-nSlip, nSamples);
        p += nDropped * AudBlockBytes(audProps);
        nSamples -= nDropped;
    }
    if (_bCut) nSamples = std::min(nSamples, SampleAt(_nEnd) - (nTaken + samples.Count()));
    if (nSamples > 0) samples.Append(p, nSamples);
}

bool FrameRateStep::IsWhole(const ZRF_FRAME_INFO& _info, Thirds _nStart, Thirds _nEnd) const {
    const bool bAlone = arrPictures.empty() || (arrPictures.size() == 1 && arrPictures[0].bGiven);
    const double dblOwn = _info.avProps.vidProps.dblRate;
    if (!bAlone || !IsAtSpeed() || (dblOwn > 0 && std::abs(dblOwn - dblRate) > kSameFrameRate)) return false;
    if (std::abs(_nStart - SourceAt(nSlot)) > Tolerance()) return false;
    if (std::abs(_nEnd - SourceAt(nSlot + 1)) > Tolerance()) return false;
    if (!HasSound()) return true;
    if (!HasSoundOf(_info) || samples.Count() > 0) return false;
    // A source may cut its sound at another fraction of a sample.
    const double dblIdeal = static_cast<double>(OutAt(nSlot + 1)) / kThirdsPerSecond * audProps.nSamplesPerSec;
    return std::abs(static_cast<double>(nGiven + _info.lAudioSamples) - dblIdeal) < 1.001;
}

void FrameRateStep::QueueWhole() {
    if (!bWhole) return;
    bWhole = false;
    ZRF_FRAME_INFO info;
    const SHOWN& picture = arrPictures.back();
    if (Succeeded(picture.pFrame->ZrFAllGet(&info))) PutSound(info, picture.nStart, nInputEnd, false, false);
}

// --- Output

bool FrameRateStep::HasInput() const {
    if (bEnded || bWhole) return true;
    // A slot is given out when another frame after it is certain, or it would have to be the last.
    const Thirds nCertain = nFrameTime > 2 * Tolerance() ? nInputEnd + Tolerance() : nInputEnd - Tolerance() - 1;
    if (nCertain < SourceAt(nSlot + 1)) return false;
    return !HasSound() || !IsAtSpeed() || samples.Count() >= SamplesOfSlot();
}

FrameRateStep::SHOWN& FrameRateStep::Choose() {
    const Thirds nNow = SourceAt(nSlot) + Tolerance();
    size_t nPast = 0;
    while (nPast + 1 < arrPictures.size() && arrPictures[nPast + 1].nStart <= nNow) ++nPast;
    arrPictures.erase(arrPictures.begin(), arrPictures.begin() + static_cast<ptrdiff_t>(nPast));
    return arrPictures.front();
}

// What is on screen when the second field of the slot begins.
FrameRateStep::SHOWN& FrameRateStep::ChooseSecond() {
    size_t n = 0;
    if (!bWhole && IntoFields(arrPictures[0])) {
        const Thirds nNow = SourceAtField(2 * nSlot + 1) + Tolerance();
        while (n + 1 < arrPictures.size() && arrPictures[n + 1].nStart <= nNow) ++n;
    }
    return arrPictures[n];
}

SlotPicture FrameRateStep::FieldOf(const SHOWN& _picture) const {
    const bool bSameRate = IsAtSpeed() && std::abs(_picture.dblRate - dblRate) <= kSameFrameRate;
    const bool bOften = _picture.bGiven || SourceAt(nSlot + 1) + Tolerance() < _picture.nEnd;
    if (bWhole || bSameRate || !ShowsFields(_picture.nFields, nFields, bOften)) return SlotPicture::Whole;
    const Thirds nMiddle = _picture.nStart + (_picture.nEnd - _picture.nStart) / 2;
    return SourceAt(nSlot) + Tolerance() < nMiddle ? SlotPicture::FirstField : SlotPicture::SecondField;
}

// Into a frame that shows the first of the two as it is, and still does where they cannot be woven.
HRESULT FrameRateStep::TakeSlotPicture(SlotPicture _ePicture, const SHOWN& _first, const SHOWN& _second,
                                       IZrFFrame& _frame) const {
    ZrPtr<IZrFFrame> pShown;
    HRESULT hr = S_OK;
    if (_ePicture == SlotPicture::Woven) {
        hr = FrameOfSlot(_ePicture, _first.pFrame.Get(), *_second.pFrame, nFields, &pShown);
        if (pShown == _second.pFrame) return hr;
    } else {
        ZR_AV_PROPS props;
        hr = _frame.ZrFAVPropsGet(&props, nullptr);
        props.vidProps.eVideoFormat = eZrVF_Custom;
        props.vidProps.eInterlace = SpreadField(_ePicture, _first.nFields);
        if (Succeeded(hr)) hr = _frame.ZrFConvert(&props, pShown.Out(), nullptr, nullptr, nullptr);
    }
    const ZrPtr<IZrFrame_I> pFrame = QueryAs<IZrFrame_I>(&_frame);
    if (Failed(hr) || !pFrame) return Failed(hr) ? hr : E_NOINTERFACE;
    return pFrame->FramePictureTake(pShown.Get());
}

HRESULT FrameRateStep::Get(ZrPtr<IZrFFrame>* _ppFrame) {
    _ppFrame->Reset();
    if (!bStarted) return bEnded ? kEndOfMedia : S_FALSE;
    if (bLastGiven) return kEndOfMedia;
    if (!HasInput()) return S_FALSE;
    if (bEnded && !bFirst && SourceAt(nSlot) + Tolerance() >= nInputEnd) return kEndOfMedia;
    const bool bLast = bEnded && SourceAt(nSlot + 1) + Tolerance() >= nInputEnd;

    SHOWN& picture = Choose();
    SHOWN& second = ChooseSecond();
    const SlotPicture ePicture = &second != &picture ? SlotPicture::Woven : FieldOf(picture);
    const bool bRepeat = picture.bGiven && second.bGiven;
    ZrPtr<IZrFFrame> pFrame;
    HRESULT hr = S_OK;
    if (bWhole) {
        pFrame = picture.pFrame;
    } else {
        const int64_t nSamples = HasSound() ? SamplesOfSlot() : 0;
        // What is attached to a frame goes out once.
        const eZrFrameClone eClone = picture.bGiven ? eZrFC_VideoRef : eZrFC_VideoRef | eZrFC_Data | eZrFC_Obj;
        hr = picture.pFrame->ZrFClone(pFrame.Out(), eClone, eZrFCC_Default);
        if (Succeeded(hr) && ePicture != SlotPicture::Whole) hr = TakeSlotPicture(ePicture, picture, second, *pFrame);
        if (Succeeded(hr) && nSamples > 0) hr = pFrame->ZrFAudioAlloc(&audProps, static_cast<int32_t>(nSamples));
    }
    if (Succeeded(hr)) hr = Stamp(*pFrame, picture, bRepeat, bLast);
    if (Failed(hr)) return hr;
    if (HasSound()) TakeSound(*pFrame);

    rtMediaTime = TicksFromThirds(SourceAt(nSlot) - picture.nOffset);
    picture.bGiven = second.bGiven = true;
    bFirst = bWhole = false;
    bLastGiven = bLast;
    ++nSlot;
    *_ppFrame = std::move(pFrame);
    return S_OK;
}

// The sound of the slot goes into the frame, which has room for it, or went out in it as it came.
void FrameRateStep::TakeSound(IZrFFrame& _frame) {
    ZR_AV_PROPS props;
    int32_t nSamples = 0;
    _frame.ZrFAVPropsGet(&props, &nSamples);
    nGiven += nSamples;
    if (bWhole) {
        nTaken += nSamples;
    } else if (!IsAtSpeed()) {
        const int64_t nPassed = SampleAt(SourceAt(nSlot + 1)) - nTaken;
        nTaken += samples.Take(nullptr, std::max<int64_t>(nPassed, 0));
    } else {
        int32_t cb = 0;
        int64_t lp = 0;
        _frame.ZrFAudioGetBytes(&cb, &lp);
        nTaken += samples.Take(reinterpret_cast<uint8_t*>(lp), nSamples);
    }
}

HRESULT FrameRateStep::Stamp(IZrFFrame& _frame, const SHOWN& _picture, bool _bRepeat, bool _bLast) const {
    ZR_TIME time;
    HRESULT hr = _frame.ZrFTimeGet(&time);
    if (Failed(hr)) return hr;
    time.rtStartTime = TicksFromThirds(OutAt(nSlot));
    time.rtEndTime = TicksFromThirds(OutAt(nSlot + 1));
    time.eFFlags = _picture.eFlags & ~(eRepeatOrBreak | eZrFF_Last);
    if (_bRepeat) time.eFFlags |= eZrFF_Dup;
    if (bFirst) time.eFFlags |= eZrFF_Break;
    if (_bLast && bMarkLast) time.eFFlags |= eZrFF_Last;
    hr = _frame.ZrFTimeSet(&time);
    if (Failed(hr) || std::abs(_picture.dblRate - dblRate) <= kSameFrameRate) return hr;
    ZR_AV_PROPS props;
    hr = _frame.ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;
    props.vidProps.dblRate = dblRate;
    if (props.vidProps.eVideoFormat != eZrVF_Disabled)
        props.vidProps.eVideoFormat = DetectFormat(&props.vidProps, true);
    return _frame.ZrFAVPropsSet(&props, nullptr);
}

}  // namespace zr
