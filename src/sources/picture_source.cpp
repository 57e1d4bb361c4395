#include "sources/picture_source.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string_view>
#include <utility>

#include "attributes/attr_text.h"
#include "attributes/attribute_line.h"
#include "attributes/interface_call.h"
#include "framework/frame_factory_access.h"
#include "media/picture_codec.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "media/vid_props_text.h"
#include "platform/wide_text.h"
#include "sources/frame_rate_step.h"

namespace zr {
namespace {

constexpr double kDefaultSeconds = 3600.0;
constexpr double kMaxSeconds = 1e8;  // three years
constexpr int64_t kThirdsPerSecond = 30'000'000;

struct PICTURE_KEYS {
    double dblSeconds = kDefaultSeconds;
    bool bScale = false;
    TEST_TONE tone;
};

PICTURE_KEYS KeysOf(const char16_t* _bsParam) {
    PICTURE_KEYS keys;
    AttributeLineScanner scanner(TextArgument(_bsParam));
    while (scanner.Next()) {
        std::u16string_view name = scanner.Name();
        if (EqualNoCase(name.substr(0, 6), u"file::")) name.remove_prefix(6);
        if (EqualNoCase(name, u"img.default_duration")) keys.dblSeconds = ParseDouble(scanner.Value());
        if (EqualNoCase(name, u"img.scale")) keys.bScale = ReadBool(scanner.Value());
        if (EqualNoCase(name, u"img.tone")) keys.tone.FrequencySet(scanner.Value());
        if (EqualNoCase(name, u"img.tone_level")) keys.tone.LevelSet(scanner.Value());
    }
    keys.dblSeconds = keys.dblSeconds > 0 ? std::min(keys.dblSeconds, kMaxSeconds) : kDefaultSeconds;
    return keys;
}

bool SameWish(const AV_FORMAT& _a, const AV_FORMAT& _b) {
    const ZR_VID_PROPS &a = _a.vidProps, &b = _b.vidProps;
    return a.eVideoFormat == b.eVideoFormat && a.fccType == b.fccType && a.nWidth == b.nWidth &&
           a.nHeight == b.nHeight && a.nRowBytes == b.nRowBytes && a.eInterlace == b.eInterlace &&
           a.nAspectX == b.nAspectX && a.nAspectY == b.nAspectY && a.dblRate == b.dblRate;
}

}  // namespace

bool IsPictureName(const char16_t* _szName) {
    BuiltInPicture picture;
    return BuiltInPicture::Find(TextArgument(_szName), &picture) || PictureTypeOf(_szName) != ePictureType::Unknown;
}

void PictureSource::FormatSet(const AV_FORMAT& _wanted) {
    const bool bSame = SameWish(wanted, _wanted);
    wanted = _wanted;
    if (bSame) return;
    MutexLock lock(mtx);
    if (bBuiltIn || bScale) pPicture.Reset();  // made anew for the next frame
    SetRate(wanted.vidProps.dblRate > 0 ? wanted.vidProps.dblRate : dblRate);
}

void PictureSource::SetRate(double _dblRate) {
    dblRate = _dblRate > 0 ? _dblRate : 25.0;
    nPeriod = PeriodOfRate(dblRate);
}

HRESULT PictureSource::Fail(HRESULT _hr, const char16_t* _szWhy) {
    MutexLock lock(mtx);
    strError = _szWhy;
    return _hr;
}

HRESULT PictureSource::WorkerCheck(IUnknown*, int32_t* _pbFlag) {
    if (!_pbFlag) return E_POINTER;
    *_pbFlag = bMoved.exchange(false) ? 1 : 0;
    return S_OK;
}

HRESULT PictureSource::WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t) {
    return InterfaceCall([&] {
        WorkerClose();
        strFile = TextArgument(_bsFile);
        bBuiltIn = BuiltInPicture::Find(strFile, &builtIn);
        const PICTURE_KEYS keys = KeysOf(_bsParam);
        tone = keys.tone;
        bScale = keys.bScale;
        nDuration = std::llround(keys.dblSeconds * kThirdsPerSecond);
        nStart = 0;
        bBreak = true;
        SetRate(wanted.vidProps.dblRate);
        const HRESULT hr = MakePicture();
        bOpen = Succeeded(hr);
        return hr;
    });
}

// To the wanted size; the pixel format, and with it the alpha, stays.
HRESULT PictureSource::Scale(ZrPtr<IZrFFrame>* _ppFrame) const {
    ZR_VID_PROPS to = wanted.vidProps;
    NormalizeProps(&to, false);
    ZR_AV_PROPS props;
    HRESULT hr = (*_ppFrame)->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr) || to.nWidth <= 0 || to.nHeight == 0) return hr;
    if (props.vidProps.nWidth == to.nWidth && AbsHeight(props.vidProps.nHeight) == AbsHeight(to.nHeight)) return S_OK;
    to.fccType = props.vidProps.fccType;
    to.nRowBytes = 0;
    to.nHeight = props.vidProps.nHeight < 0 ? -AbsHeight(to.nHeight) : AbsHeight(to.nHeight);
    props.vidProps = to;
    ZrPtr<IZrFFrame> pScaled;
    int32_t nRest = 0;
    hr = (*_ppFrame)->ZrFConvert(&props, pScaled.Out(), &nRest, nullptr, nullptr);
    if (Succeeded(hr) && pScaled) *_ppFrame = std::move(pScaled);
    return hr;
}

HRESULT PictureSource::MakePicture() {
    ZrPtr<IZrFFrame> pMade;
    HRESULT hr = S_OK;
    if (bBuiltIn) {
        hr = builtIn.Make(builtIn.Format(wanted.vidProps), &pMade);
        if (Failed(hr)) return Fail(hr, u"The picture cannot be made in this format.");
    } else {
        IZrFFactory* pFactory = nullptr;
        hr = FrameFactory(&pFactory);
        if (Succeeded(hr)) hr = pFactory->ZrFFrameCreateFromFile(strFile.c_str(), pMade.Out(), nullptr);
        if (hr == ZR_E_NOT_FOUND_FILE) return Fail(hr, u"There is no such file.");
        if (hr == E_NOTIMPL || hr == ZR_E_NOT_SUPPORTED)
            return Fail(hr, u"No reader for this kind of picture is there.");
        if (Failed(hr)) return Fail(hr, u"The file is no picture that can be read.");
        if (bScale) hr = Scale(&pMade);
        if (Failed(hr)) return Fail(hr, u"The picture cannot be brought to this size.");
    }
    ZR_AV_PROPS props;
    hr = pMade->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;
    if (wanted.vidProps.dblRate <= 0 && props.vidProps.dblRate > 0) SetRate(props.vidProps.dblRate);
    if (props.vidProps.dblRate != dblRate) {
        props.vidProps.dblRate = dblRate;
        hr = pMade->ZrFAVPropsSet(&props, nullptr);
        if (Failed(hr)) return hr;
    }
    vidProps = props.vidProps;
    MutexLock lock(mtx);
    pPicture = std::move(pMade);
    strError.clear();
    return S_OK;
}

HRESULT PictureSource::WorkerReset() {
    if (!bOpen) return ZR_E_NOT_RUNNING;
    return InterfaceCall([&] { return MakePicture(); });
}

HRESULT PictureSource::WorkerClose() {
    bOpen = false;
    MutexLock lock(mtx);
    pPicture.Reset();
    return S_OK;
}

HRESULT PictureSource::WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbsInfo) {
    if (_pbsInfo) *_pbsInfo = nullptr;
    if (!_pInfo) return E_POINTER;
    if (!bOpen) return ZR_E_NOT_RUNNING;
    *_pInfo = {};
    _pInfo->dblDuration = static_cast<double>(nDuration) / kThirdsPerSecond;
    _pInfo->vidProps = vidProps;
    _pInfo->audProps = wanted.audProps;
    _pInfo->nVideoTracks = 1;
    _pInfo->nAudioTracks = wanted.audProps.nChannels > 0 ? 1 : 0;
    _pInfo->bSeekable = 1;
    if (!_pbsInfo) return S_OK;
    return InterfaceCall([&] {
        const std::u16string strKind = bBuiltIn ? u"built-in picture" : u"picture file";
        return GiveText(u"<info format='" + strKind + u"' video='" + VideoTechnicalText(&vidProps) + u"'/>", _pbsInfo);
    });
}

HRESULT PictureSource::AddSound(IZrFFrame* _pFrame, Thirds _nEnd) {
    const ZR_AUD_PROPS& audProps = wanted.audProps;
    if (audProps.nChannels <= 0) return S_OK;
    const int64_t nFirst = SamplesBefore(nStart, audProps.nSamplesPerSec);
    const auto nSamples = static_cast<int32_t>(SamplesBefore(_nEnd, audProps.nSamplesPerSec) - nFirst);
    HRESULT hr = _pFrame->ZrFAudioAlloc(&audProps, nSamples);
    if (Failed(hr) || tone.dblHz <= 0) return hr;
    ZRF_FRAME_INFO info;
    hr = _pFrame->ZrFAllGet(&info);
    if (Succeeded(hr) && info.lpAudio)
        tone.Write(info.avProps.audProps, nFirst, info.lAudioSamples, reinterpret_cast<void*>(info.lpAudio));
    return hr;
}

HRESULT PictureSource::WorkerFrameGet(int64_t, IZrFFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!bOpen) return E_ABORT;
    if (nStart >= nDuration) return Win32Error(1100);
    ZrPtr<IZrFFrame> pSource, pFrame;
    for (int nTry = 0; !pSource; ++nTry) {
        {
            MutexLock lock(mtx);
            pSource = pPicture;
        }
        if (pSource) break;
        const HRESULT hr = nTry == 0 ? InterfaceCall([&] { return MakePicture(); }) : E_ABORT;
        if (Failed(hr)) return hr;
    }
    HRESULT hr = pSource->ZrFClone(pFrame.Out(), eZrFC_VideoRef | eZrFC_Data | eZrFC_Obj, eZrFCC_Default);
    if (Failed(hr)) return hr;
    const Thirds nEnd = nStart + nPeriod;
    hr = AddSound(pFrame.Get(), nEnd);
    if (Failed(hr)) return hr;
    ZR_TIME time;
    time.rtStartTime = TicksFromThirds(nStart);
    time.rtEndTime = TicksFromThirds(nEnd);
    time.eFFlags = bBreak ? eZrFF_Break : eZrFF_None;
    if (nEnd >= nDuration) time.eFFlags |= eZrFF_Last;
    hr = pFrame->ZrFTimeSet(&time);
    if (Failed(hr)) return hr;
    nStart = nEnd;
    bBreak = false;
    bMoved = true;
    *_ppFrame = pFrame.Detach();
    return S_OK;
}

HRESULT PictureSource::WorkerSeek(double _dblPos, double) {
    if (!bOpen) return ZR_E_NOT_RUNNING;
    const double dblLast = static_cast<double>(nDuration - 1) / kThirdsPerSecond;
    const double dblPos = _dblPos > 0 ? std::min(_dblPos, dblLast) : 0.0;  // not a number goes to the start
    // A position that stands for the beginning of a frame may be a little off in seconds.
    nStart = (std::llround(dblPos * kThirdsPerSecond) + 15) / nPeriod * nPeriod;
    bBreak = true;
    return S_OK;
}

HRESULT PictureSource::WorkerErrorGet(BSTR* _pbsError) {
    MutexLock lock(mtx);
    return GiveText(strError, _pbsError);
}

}  // namespace zr
