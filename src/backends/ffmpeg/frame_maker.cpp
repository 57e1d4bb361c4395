#include "backends/ffmpeg/frame_maker.h"

extern "C" {
#include <libavutil/timecode.h>
}

#include <algorithm>
#include <cstring>

#include "backends/ffmpeg/picture_memory.h"
#include "framework/frame_factory_access.h"
#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/premultiply.h"
#include "media/vid_props.h"

namespace zr {

namespace {

// Frames since midnight as numbers of a clock that leaves out 2 (at 60: 4) of them each minute but the tenth.
int64_t WithDroppedNumbers(int64_t _nFrame, int _nRate) {
    const int64_t nDrop = _nRate / 15, nMinute = int64_t{60} * _nRate - nDrop, nTen = 10 * nMinute + nDrop;
    const int64_t nTens = _nFrame / nTen, nRest = _nFrame % nTen;
    const int64_t nMinutes = nRest < nDrop ? 0 : (nRest - nDrop) / nMinute;
    return _nFrame + 9 * nDrop * nTens + nDrop * nMinutes;
}

uint32_t RateFlags(int _nRate, bool _bDrop, bool _bOdd) {
    switch (_nRate) {
        case 24: return eZrTCF_Rate_24;
        case 25: return eZrTCF_Rate_25;
        case 30: return _bDrop ? eZrTCF_Rate_30_DF : eZrTCF_Rate_30;
        case 50: return _bOdd ? eZrTCF_Rate_50_Odd : eZrTCF_Rate_50;
        case 60:
            if (_bDrop) return _bOdd ? eZrTCF_Rate_60_DF_Odd : eZrTCF_Rate_60_DF;
            return _bOdd ? eZrTCF_Rate_60_Odd : eZrTCF_Rate_60;
        default: return eZrTCF_NonDropFrame;
    }
}

// The number that SMPTE ST 12-1 packs in decimal digits.
int Decimal(uint32_t _nDigits) { return static_cast<int>((_nDigits >> 4) * 10 + (_nDigits & 15)); }

ZR_TIMECODE FromS12M(uint32_t _nCode, int _nRate) {
    ZR_TIMECODE tc;
    tc.nHours = Decimal(_nCode & 0x3F);
    tc.nMinutes = Decimal(_nCode >> 8 & 0x7F);
    tc.nSeconds = Decimal(_nCode >> 16 & 0x7F);
    tc.nFrames = Decimal(_nCode >> 24 & 0x3F);
    const bool bDrop = (_nCode >> 30 & 1) != 0;
    const bool bOdd = _nRate >= 50 && (_nRate == 50 ? _nCode >> 7 & 1 : _nCode >> 23 & 1) != 0;
    tc.eTCFlags = static_cast<eZrTimecodeFlags>(RateFlags(_nRate, bDrop, bOdd) | eZrTCF_SrcTC);
    return tc;
}

// 4:2:2 and 4:2:0 have whole chroma samples only: an odd last column or row is left off.
int EvenDown(int _n, bool _bEven) { return _bEven && _n > 1 ? _n & ~1 : _n; }

}  // namespace

TIMECODE_LINE TIMECODE_LINE::FromText(const char* _szText, AVRational _rate) {
    TIMECODE_LINE line;
    AVTimecode tc = {};
    if (!_szText || _rate.num <= 0 || _rate.den <= 0) return line;
    if (av_timecode_init_from_string(&tc, _rate, _szText, nullptr) < 0) return line;
    line.bKnown = tc.fps > 0;
    line.nStart = tc.start;
    line.nRate = static_cast<int>(tc.fps);
    line.bDrop = (tc.flags & AV_TIMECODE_FLAG_DROPFRAME) != 0 && tc.fps % 30 == 0;
    return line;
}

ZR_TIMECODE TIMECODE_LINE::At(int64_t _nFrame) const {
    ZR_TIMECODE tc;
    if (!bKnown) return tc;
    int64_t nNumber = std::max<int64_t>(nStart + _nFrame, 0);
    if (bDrop) nNumber = WithDroppedNumbers(nNumber, nRate);
    const bool bPairs = nRate == 50 || nRate == 60;
    const auto nInSecond = static_cast<int32_t>(nNumber % nRate);
    const int64_t nSeconds = nNumber / nRate;
    tc.nFrames = bPairs ? nInSecond / 2 : nInSecond;
    tc.nSeconds = static_cast<int32_t>(nSeconds % 60);
    tc.nMinutes = static_cast<int32_t>(nSeconds / 60 % 60);
    tc.nHours = static_cast<int32_t>(nSeconds / 3600 % 24);
    tc.eTCFlags = static_cast<eZrTimecodeFlags>(RateFlags(nRate, bDrop, bPairs && nInSecond % 2 != 0) | eZrTCF_SrcTC);
    return tc;
}

ZR_VID_PROPS VidPropsOf(const RAW_PICTURE& _picture, AVRational _aspect, eZrInterlace _eInterlace, double _dblRate) {
    ZR_VID_PROPS props;
    props.fccType = FamilyFormatOf(_picture.eFormat, _picture.eSpace, _picture.nHeight);
    const bool bRgb = PixelFormatBottomUp(props.fccType);
    const bool b420 = PixelFormatPlanar(props.fccType);
    props.nWidth = EvenDown(_picture.nWidth, !bRgb);
    props.nHeight = EvenDown(_picture.nHeight, b420 || _eInterlace != eZrI_Progressive);
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    props.eInterlace = _eInterlace;
    props.dblRate = _dblRate;
    if (_aspect.num > 0 && _aspect.den > 0) {
        int nX = 0, nY = 0;
        av_reduce(&nX, &nY, int64_t{_aspect.num} * _picture.nWidth, int64_t{_aspect.den} * _picture.nHeight, 32767);
        props.nAspectX = static_cast<int16_t>(nX);
        props.nAspectY = static_cast<int16_t>(nY);
    }
    props.eVideoFormat = DetectFormat(&props, true);
    if (props.nAspectX == 0) {
        const VIDEO_ASPECT known = FormatAspect(props.eVideoFormat);
        props.nAspectX = static_cast<int16_t>(known.nX);
        props.nAspectY = static_cast<int16_t>(known.nY);
    }
    if (bRgb) props.nHeight = -props.nHeight;  // rows are stored top-down
    return props;
}

eZrInterlace InterlaceOf(AVFieldOrder _eOrder) {
    switch (_eOrder) {
        case AV_FIELD_TT:
        case AV_FIELD_BT: return eZrI_Field1First;
        case AV_FIELD_BB:
        case AV_FIELD_TB: return eZrI_Field2First;
        default: return eZrI_Progressive;
    }
}

void FrameMaker::Init(AVRational _aspect, eZrInterlace _eInterlace, double _dblRate, const TIMECODE_LINE& _timecode) {
    aspect = _aspect;
    eInterlace = _eInterlace;
    dblRate = _dblRate;
    timecode = _timecode;
    Forget();
}

ZR_TIMECODE FrameMaker::TimecodeOf(const AVFrame* _pPicture, int64_t _nFrame) const {
    const AVFrameSideData* pSide = _pPicture ? av_frame_get_side_data(_pPicture, AV_FRAME_DATA_S12M_TIMECODE) : nullptr;
    if (pSide && pSide->size >= 2 * sizeof(uint32_t)) {
        uint32_t arrCodes[2];
        std::memcpy(arrCodes, pSide->data, sizeof(arrCodes));
        if (arrCodes[0] > 0) return FromS12M(arrCodes[1], static_cast<int>(dblRate + 0.5));
    }
    return timecode.At(_nFrame);
}

HRESULT FrameMaker::MakePicture(const AVFrame& _picture, ZrPtr<IZrFFrame>* _ppFrame) {
    RAW_PICTURE from = PlanesOfAvFrame(_picture);
    // A stream of fields stays one, though single pictures may be called whole: their format would change to and fro.
    if (_picture.interlaced_frame) eInterlace = _picture.top_field_first ? eZrI_Field1First : eZrI_Field2First;
    const AVRational pixel = _picture.sample_aspect_ratio.num > 0 ? _picture.sample_aspect_ratio : aspect;
    ZR_AV_PROPS props;
    props.vidProps = VidPropsOf(from, pixel, eInterlace, dblRate);
    HRESULT hr = FrameOverPicture(_picture, props.vidProps, _ppFrame);
    if (hr != S_FALSE) return hr;
    from.nWidth = props.vidProps.nWidth;
    from.nHeight = AbsHeight(props.vidProps.nHeight);

    const uint64_t cbPicture = PictureBytes(props.vidProps);
    if (cbPicture == 0 || cbPicture > INT32_MAX) return ZR_E_NOT_SUPPORTED;
    ZrFrameFactory_I* pFactory = nullptr;
    hr = FrameFactory(&pFactory);
    if (Failed(hr)) return hr;
    ZrPtr<IZrFrame> pMade;
    hr = pFactory->FrameCreateSized(static_cast<uint32_t>(cbPicture), 0, 0, pMade.Out());
    if (Failed(hr)) return hr;
    const ZrPtr<IZrFFrame> pFrame = pMade.As<IZrFFrame>();
    if (!pFrame) return E_NOINTERFACE;
    hr = pFrame->ZrFAVPropsSet(&props, nullptr);
    if (Failed(hr)) return hr;
    ZRF_VID_PTR planes;
    hr = pFrame->ZrFVideoGetBytesEx(&planes);
    if (Failed(hr)) return hr;

    RAW_PICTURE to;
    if (!PlanesOfFrame(props.vidProps, planes, &to)) return E_UNEXPECTED;
    to.eSpace = from.eSpace;  // where YUV goes to YUV the matrix stays what it was
    const bool bFields = eInterlace != eZrI_Progressive;
    if (props.vidProps.fccType != eZrFCC_v210) {
        hr = converter.Convert(from, to, bFields);
    } else {
        if (from.eFormat != to.eFormat || from.bFullRange) {
            hr = scratch.Make(to.eFormat, from.nWidth, from.nHeight);
            if (Succeeded(hr)) hr = converter.Convert(from, scratch.Planes(), bFields);
            from = Succeeded(hr) ? scratch.Planes() : from;
        }
        if (Succeeded(hr)) PackV210(from, to.arrPlanes[0], to.arrStrides[0]);
    }
    if (Failed(hr)) return hr;
    for (int y = 0; y < from.nHeight && props.vidProps.fccType == eZrFCC_ARGB32; ++y) {
        uint8_t* const pRow = to.arrPlanes[0] + y * static_cast<ptrdiff_t>(to.arrStrides[0]);
        PremultiplyRow(pRow, pRow, static_cast<size_t>(from.nWidth));
    }
    *_ppFrame = pFrame;
    return S_OK;
}

HRESULT FrameMaker::Make(const AVFrame* _pPicture, const ZR_TIME& _time, AudioLine* _pSound, int64_t _nFrom,
                         int64_t _nTo, ZrPtr<IZrFFrame>* _ppFrame) {
    HRESULT hr = S_OK;
    ZrPtr<IZrFFrame> pFrame;
    if (_pPicture && _pPicture == pLastPicture && pLastFrame) {
        hr = pLastFrame->ZrFClone(pFrame.Out(), eZrFC_VideoRef, eZrFCC_Default);
    } else if (_pPicture) {
        hr = MakePicture(*_pPicture, &pFrame);
    } else {
        IZrFFactory* pFactory = nullptr;
        hr = FrameFactory(&pFactory);
        if (Succeeded(hr)) hr = pFactory->ZrFFrameCreatePlain(0, pFrame.Out());
    }
    if (Failed(hr)) return hr;
    if (_pSound) {
        const auto nSamples = static_cast<int32_t>(std::clamp<int64_t>(_nTo - _nFrom, 0, 60 * AudioLine::kRate));
        int32_t cbSound = 0;
        int64_t lpSound = 0;
        hr = pFrame->ZrFAudioAlloc(&_pSound->Props(), nSamples);
        if (Succeeded(hr)) hr = pFrame->ZrFAudioGetBytes(&cbSound, &lpSound);
        if (Failed(hr)) return hr;
        if (lpSound) _pSound->Cut(_nFrom, _nFrom + nSamples, reinterpret_cast<uint8_t*>(lpSound));
    }
    hr = pFrame->ZrFTimeSet(&_time);
    if (Failed(hr)) return hr;
    pLastPicture = _pPicture;
    pLastFrame = _pPicture ? pFrame : nullptr;
    *_ppFrame = std::move(pFrame);
    return S_OK;
}

}  // namespace zr
