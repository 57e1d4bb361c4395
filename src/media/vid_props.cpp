#include "media/vid_props.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "media/format_table.h"
#include "media/pixel_format.h"

namespace zr {
namespace {

constexpr double kRateTolerance = 0.01;
constexpr double kWideAspect = 1.4;  // between 4:3 and 16:9

bool SameRate(double _dblA, double _dblB) { return std::fabs(_dblA - _dblB) < kRateTolerance; }

bool IsFieldOrder(eZrInterlace _eInterlace) {
    return _eInterlace == eZrI_Field1First || _eInterlace == eZrI_Field2First;
}

constexpr eZrVideoFormat AddLayout(eZrVideoFormat _eFormat, uint32_t _nLayout) {
    return static_cast<eZrVideoFormat>(static_cast<uint32_t>(_eFormat) | _nLayout);
}

constexpr bool HasPairLayout(eZrVideoFormat _eFormat) {
    return (static_cast<uint32_t>(_eFormat) & kLayoutPairMask) != 0;
}

bool BothAspectsGiven(const ZR_VID_PROPS& _props) { return _props.nAspectX != 0 && _props.nAspectY != 0; }

int32_t WithSignOf(int32_t _nLines, int32_t _nSign) { return _nSign < 0 ? -_nLines : _nLines; }

// ---- recognising a format

// Where two formats share raster and rate, the first listed wins for a record without field order.
constexpr eZrVideoFormat arr720[] = {eZrVF_HD720_5994p, eZrVF_HD720_60p, eZrVF_HD720_50p};
constexpr eZrVideoFormat arr1080[] = {eZrVF_HD1080_2398p, eZrVF_HD1080_24p,   eZrVF_HD1080_50i, eZrVF_HD1080_25p,
                                      eZrVF_HD1080_5994i, eZrVF_HD1080_2997p, eZrVF_HD1080_60i, eZrVF_HD1080_30p,
                                      eZrVF_HD1080_50p,   eZrVF_HD1080_5994p, eZrVF_HD1080_60p};
constexpr eZrVideoFormat arr2KDCI[] = {eZrVF_2K_DCI_2398p, eZrVF_2K_DCI_24p,   eZrVF_2K_DCI_25p,
                                       eZrVF_2K_DCI_50p,   eZrVF_2K_DCI_5994p, eZrVF_2K_DCI_60p};
constexpr eZrVideoFormat arr2K[] = {eZrVF_2K_2398p, eZrVF_2K_24p, eZrVF_2K_25p};
constexpr eZrVideoFormat arrUHD[] = {eZrVF_4K_UHD_2398p, eZrVF_4K_UHD_24p,   eZrVF_4K_UHD_25p,   eZrVF_4K_UHD_2997p,
                                     eZrVF_4K_UHD_30p,   eZrVF_4K_UHD_50i,   eZrVF_4K_UHD_5994i, eZrVF_4K_UHD_60i,
                                     eZrVF_4K_UHD_50p,   eZrVF_4K_UHD_5994p, eZrVF_4K_UHD_60p};
constexpr eZrVideoFormat arr4KDCI[] = {eZrVF_4K_DCI_2398p, eZrVF_4K_DCI_24p,   eZrVF_4K_DCI_25p,
                                       eZrVF_4K_DCI_50p,   eZrVF_4K_DCI_5994p, eZrVF_4K_DCI_60p};

template <size_t N>
eZrVideoFormat FirstMatch(const eZrVideoFormat (&_arrFormats)[N], const ZR_VID_PROPS& _props) {
    for (const eZrVideoFormat eFormat : _arrFormats) {
        const ZrVideoFormatRow& row = *RowOf(eFormat);
        if (SameRate(_props.dblRate, row.dblRate) &&
            (_props.eInterlace == eZrI_Default || _props.eInterlace == row.eInterlace))
            return eFormat;
    }
    return eZrVF_Custom;
}

eZrVideoFormat DetectStandardDefinition(const ZR_VID_PROPS& _props, int32_t _nLines, bool _bExact) {
    const int32_t nAllowance = _bExact ? 0 : FormatBlanking(eZrVF_NTSC);  // NTSC's for PAL as well
    const bool bWide = AspectValue(&_props) > kWideAspect;
    if (_nLines >= 576 && _nLines <= 576 + nAllowance && SameRate(_props.dblRate, FormatRate(eZrVF_PAL)))
        return bWide ? eZrVF_PAL_16x9 : eZrVF_PAL;
    if (_nLines >= 480 && _nLines <= 486 + nAllowance) {
        if (SameRate(_props.dblRate, FormatRate(eZrVF_NTSC))) return bWide ? eZrVF_NTSC_16x9 : eZrVF_NTSC;
        if (SameRate(_props.dblRate, FormatRate(eZrVF_NTSC_2398))) return eZrVF_NTSC_2398;
    }
    return eZrVF_Custom;
}

// One picture on a known raster.
eZrVideoFormat DetectRaster(const ZR_VID_PROPS& _props, bool _bExact) {
    const int32_t nLines = AbsHeight(_props.nHeight);
    const auto HoldsLines = [&](eZrVideoFormat _eFormat) {
        const int32_t nHeight = RowOf(_eFormat)->nHeight;
        return nLines >= nHeight && nLines <= nHeight + (_bExact ? 0 : FormatBlanking(_eFormat));
    };
    const auto WithLayout = [&](eZrVideoFormat _eFormat) {
        return _eFormat == eZrVF_Custom ? _eFormat : AddLayout(_eFormat, _props.e3DFormat & kLayoutPairMask);
    };
    switch (_props.nWidth) {
        case 720: return DetectStandardDefinition(_props, nLines, _bExact);
        case 1280: return HoldsLines(eZrVF_HD720_60p) ? WithLayout(FirstMatch(arr720, _props)) : eZrVF_Custom;
        case 1920: return HoldsLines(eZrVF_HD1080_50i) ? WithLayout(FirstMatch(arr1080, _props)) : eZrVF_Custom;
        case 2048:
            if (nLines == 1080) return FirstMatch(arr2KDCI, _props);
            return nLines == 1556 ? FirstMatch(arr2K, _props) : eZrVF_Custom;
        case 3840: return nLines == 2160 ? FirstMatch(arrUHD, _props) : eZrVF_Custom;
        case 4096: return nLines == 2160 ? FirstMatch(arr4KDCI, _props) : eZrVF_Custom;
        default: return eZrVF_Custom;
    }
}

// The format of one picture of a pair, with the layout of the pair added; none when that picture is a pair itself.
eZrVideoFormat DetectPairOf(ZR_VID_PROPS _propsOne, uint32_t _nLayout) {
    _propsOne.e3DFormat = eZr3D_None;
    const eZrVideoFormat eFormat = DetectFormat(&_propsOne, false);
    if (eFormat == eZrVF_Custom || HasPairLayout(eFormat)) return eZrVF_Custom;
    return AddLayout(eFormat, _nLayout);
}

// ---- filling by a named format

void FillWish(ZR_VID_PROPS& _named, const ZR_VID_PROPS& _wish) {
    if (_wish.dblRate != 0 && _wish.nWidth != 0 && _wish.nHeight != 0) {
        _named.eVideoFormat = DetectFormat(&_wish, false);
        _named.dblRate = _wish.dblRate;  // a size at another rate is another format, never this one's rate
    }
    if (_wish.nRowBytes != 0) _named.nRowBytes = _wish.nRowBytes;
    if (BothAspectsGiven(_wish)) {
        _named.nAspectX = _wish.nAspectX;
        _named.nAspectY = _wish.nAspectY;
    }
    if (AbsHeight(_wish.nHeight) >= 2) {
        _named.nHeight = _wish.nHeight;
    } else if (_wish.nHeight != 0) {
        _named.nHeight = WithSignOf(AbsHeight(_named.nHeight), _wish.nHeight);
    }
    if (_wish.nWidth != 0) {
        _named.nWidth = _wish.nWidth;
        if (_wish.nRowBytes == 0) _named.nRowBytes = MinRowBytes(_named.fccType, _named.nWidth);
    }
    if (_wish.eInterlace != eZrI_Default) _named.eInterlace = _wish.eInterlace;
}

void FillFrame(ZR_VID_PROPS& _named, const ZR_VID_PROPS& _frame) {
    if (_frame.nHeight == 0) return;
    const int32_t nNamed = AbsHeight(_named.nHeight);
    const int32_t nOwn = AbsHeight(_frame.nHeight);
    const bool bNotShort = nNamed <= nOwn || (IsFieldOrder(_named.eInterlace) && nOwn == 480);
    const bool bKeep = bNotShort && nOwn <= nNamed + FormatBlanking(_named.eVideoFormat);
    _named.nHeight = bKeep ? _frame.nHeight : WithSignOf(nNamed, _frame.nHeight);
}

// A frame with every line of its format, blanking included: 525, 625 or 1125, which is odd where there are fields.
bool HasAllLines(const ZR_VID_PROPS& _frame) {
    const int32_t nBlanking = FormatBlanking(_frame.eVideoFormat);
    return nBlanking != 0 && AbsHeight(_frame.nHeight) == FormatSize(_frame.eVideoFormat).nHeight + nBlanking;
}

// False: no such named format, the record is as it was.
bool FillByFormat(ZR_VID_PROPS& _props, bool _bKeepOwnSize) {
    ZR_VID_PROPS named = PropsFromFormat(_props.eVideoFormat, _props.fccType);
    if (named.dblRate == 0) return false;
    named.eScaleType = _props.eScaleType;
    if (_bKeepOwnSize) {
        FillFrame(named, _props);
    } else {
        FillWish(named, _props);
    }
    _props = named;
    return true;
}

// ---- comparing

bool AspectsConflict(const ZR_VID_PROPS& _a, const ZR_VID_PROPS& _b) {
    if (!BothAspectsGiven(_a) || !BothAspectsGiven(_b)) return false;
    if (_a.eScaleType == eZrST_IgnoreAR || _b.eScaleType == eZrST_IgnoreAR) return false;
    return _a.nAspectX != _b.nAspectX || _a.nAspectY != _b.nAspectY;
}

}  // namespace

double AspectValue(const ZR_VID_PROPS* _pProps) {
    if (!_pProps) return 1.0;
    if (_pProps->nAspectX > 0 && _pProps->nAspectY > 0)
        return static_cast<double>(_pProps->nAspectX) / _pProps->nAspectY;
    if (_pProps->nHeight >= 1) return static_cast<double>(_pProps->nWidth) / _pProps->nHeight;
    return 16.0 / 9.0;
}

int32_t InterlaceClass(const ZR_VID_PROPS* _pProps) {
    if (!_pProps) return 0;
    const eZrInterlace eInterlace =
        _pProps->eInterlace == eZrI_Default ? FormatInterlace(_pProps->eVideoFormat) : _pProps->eInterlace;
    if (eInterlace == eZrI_Field1First) return 1;
    return eInterlace == eZrI_Field2First ? -1 : 0;
}

ZR_VID_PROPS PropsFromFormat(eZrVideoFormat _eFormat, eZrFCC _fccType) {
    ZR_VID_PROPS props;
    props.eVideoFormat = _eFormat;
    props.fccType = _fccType;
    if (props.fccType == eZrFCC_Default) props.fccType = FormatClass(_eFormat) != 0 ? eZrFCC_HDYC : eZrFCC_UYVY;
    const VIDEO_SIZE size = FormatSize(_eFormat);
    props.nWidth = size.nWidth;
    props.nHeight = PixelFormatBottomUp(props.fccType) ? -size.nHeight : size.nHeight;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    props.eInterlace = FormatInterlace(_eFormat);
    const VIDEO_ASPECT aspect = FormatAspect(_eFormat);
    props.nAspectX = static_cast<int16_t>(aspect.nX);
    props.nAspectY = static_cast<int16_t>(aspect.nY);
    props.dblRate = FormatRate(_eFormat);
    props.e3DFormat = Format3D(_eFormat);
    return props;
}

eZrVideoFormat NormalizeProps(ZR_VID_PROPS* _pProps, bool _bKeepOwnSize) {
    if (!_pProps) return eZrVF_Custom;
    ZR_VID_PROPS& props = *_pProps;
    if (props.eVideoFormat == eZrVF_Disabled) return eZrVF_Disabled;
    if (!BothAspectsGiven(props)) props.nAspectX = props.nAspectY = 0;
    if (props.eVideoFormat != eZrVF_Custom && !FillByFormat(props, _bKeepOwnSize)) return eZrVF_Custom;
    // A wish whose numbers fit no format comes here too: with the format's rate they may fit one.
    if (props.eVideoFormat == eZrVF_Custom) props.eVideoFormat = DetectFormat(&props, !_bKeepOwnSize);
    if (HasPairLayout(props.eVideoFormat)) props.e3DFormat = Format3D(props.eVideoFormat);

    if (_bKeepOwnSize && props.nWidth >= 1 && props.nHeight != 0) {
        if (!IsFieldOrder(props.eInterlace)) props.eInterlace = eZrI_Progressive;
        if (props.fccType == eZrFCC_Default) props.fccType = AbsHeight(props.nHeight) < 626 ? eZrFCC_UYVY : eZrFCC_HDYC;
    }
    if (!PixelFormatBottomUp(props.fccType)) {
        props.nWidth &= ~1;
        props.nHeight = AbsHeight(props.nHeight);
    }
    // Every field has as many lines, but a frame captured whole is not cut.
    if (InterlaceClass(&props) != 0 && !(_bKeepOwnSize && HasAllLines(props))) props.nHeight -= props.nHeight % 2;
    const bool bKnown = PixelFormatPackedKnown(props.fccType);
    props.nRowBytes = std::max(props.nRowBytes, bKnown ? MinRowBytes(props.fccType, props.nWidth) : 0);
    return props.eVideoFormat;
}

eZrVideoFormat DetectFormat(const ZR_VID_PROPS* _pProps, bool _bExact) {
    if (!_pProps) return eZrVF_Custom;
    const eZrVideoFormat eFormat = DetectRaster(*_pProps, _bExact);
    if (eFormat != eZrVF_Custom) return eFormat;
    ZR_VID_PROPS one = *_pProps;
    if (one.nHeight >= 1440 && one.nWidth <= 2048) {
        one.nHeight /= 2;
        return DetectPairOf(one, eZr3D_FullTopAndBottom);
    }
    if (one.nWidth >= 2560 && AbsHeight(one.nHeight) <= 1080 &&
        one.nRowBytes < 2 * int64_t{MinRowBytes(one.fccType, one.nWidth)}) {
        one.nWidth /= 2;
        return DetectPairOf(one, eZr3D_SideBySide);
    }
    return eZrVF_Custom;
}

bool SameProps(const ZR_VID_PROPS* _pA, const ZR_VID_PROPS* _pB, int32_t _nLevel) {
    if (!_pA || !_pB) return !_pA && !_pB;
    ZR_VID_PROPS a = *_pA;
    ZR_VID_PROPS b = *_pB;
    NormalizeProps(&a, false);
    NormalizeProps(&b, false);
    if (_nLevel >= 1) {
        return (_nLevel < 2 || a.fccType == b.fccType) && (_nLevel < 3 || a.nRowBytes == b.nRowBytes) &&
               a.nWidth == b.nWidth && AbsHeight(a.nHeight) == AbsHeight(b.nHeight);
    }
    if (a.fccType != b.fccType || a.nWidth != b.nWidth || a.nHeight != b.nHeight || a.eInterlace != b.eInterlace ||
        AspectsConflict(a, b))
        return false;
    if (a.eVideoFormat != eZrVF_Custom && a.eVideoFormat == b.eVideoFormat) return true;
    return SameRate(a.dblRate, b.dblRate) && a.e3DFormat == b.e3DFormat && a.eScaleType == b.eScaleType;
}

bool PropsValid(const ZR_VID_PROPS* _pProps, bool _bRequireOutputForm) {
    if (!_pProps) return false;
    const ZR_VID_PROPS& props = *_pProps;
    if (_bRequireOutputForm) {
        if (props.eVideoFormat == eZrVF_Disabled) return false;
        if (props.eVideoFormat > eZrVF_Custom) return true;
        return props.nWidth >= 1 && props.nHeight != 0 && props.nRowBytes != 0 && props.fccType != eZrFCC_Default;
    }
    return props.dblRate > 0 || props.fccType != eZrFCC_Default || (props.nAspectX > 0 && props.nAspectY > 0) ||
           (props.nWidth > 0 && props.nHeight != 0) || props.eInterlace != eZrI_Default;
}

eZrVideoFormat ParseFormatName(std::u16string_view _text, eZrVideoFormat _eDefault) {
    for (int32_t i = 0; i < kVideoFormatRows; ++i) {
        const ZrVideoFormatRow& row = *RowTable(i);
        if (_text == row.szShortName || _text == row.szEnumName) return static_cast<eZrVideoFormat>(row.llVideoFormat);
    }
    return _eDefault;
}

}  // namespace zr
